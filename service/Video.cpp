#include "service/Video.h"

#include "service/WholeNumber.h"

#include <array>
#include <cstdio>
#include <utility>

namespace service {

namespace {

constexpr std::array<std::pair<VideoKind, std::string_view>, 6> names{{
    {VideoKind::normal, "normal"},
    {VideoKind::notice1, "notice1"},
    {VideoKind::notice2, "notice2"},
    {VideoKind::notice3, "notice3"},
    {VideoKind::notice4, "notice4"},
    {VideoKind::rtmpe, "rtmpe"},
}};

// FNV-1a, stable across runs and platforms unlike std::hash, then mixed: ids
// that differ in their last letter only would otherwise share most bits.
std::uint64_t fingerprint(std::string_view id)
{
    std::uint64_t hash = 14695981039346656037ull;
    for (const char c : id) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 1099511628211ull;
    }
    hash = (hash ^ (hash >> 33)) * 0xff51afd7ed558ccdull;
    hash = (hash ^ (hash >> 33)) * 0xc4ceb9fe1a85ec53ull;
    return hash ^ (hash >> 33);
}

constexpr std::array<std::string_view, 6> channels{
    "Melodrift Test Pictures", "Signal Generator Club", "Night Shift Tones",
    "The Calibration Desk",    "Colour Bar Collective", "Pattern & Pitch",
};

std::string noonOf(std::chrono::year_month_day date, const char* zone)
{
    using namespace std::chrono;
    static constexpr std::array<const char*, 7> weekdays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr std::array<const char*, 12> months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    char text[40];
    std::snprintf(text, sizeof text, "%s, %02u %s %04d 12:00:00 %s", weekdays[weekday(sys_days(date)).c_encoding()],
                  static_cast<unsigned>(date.day()), months[static_cast<unsigned>(date.month()) - 1],
                  static_cast<int>(date.year()), zone);
    return text;
}

} // namespace

std::string channelFromId(std::string_view id)
{
    return std::string(channels[(fingerprint(id) >> 32) % channels.size()]);
}

std::chrono::year_month_day uploadDateFromId(std::string_view id)
{
    using namespace std::chrono;
    // A day from the service's first years, up to the day before its feeds were
    // last built.
    constexpr sys_days first = 2005y / April / 23;
    constexpr sys_days last = 2012y / November / 19;
    return year_month_day(first + days(fingerprint(id) % static_cast<std::uint64_t>((last - first).count() + 1)));
}

std::string isoDate(std::chrono::year_month_day date)
{
    char text[16];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text;
}

std::optional<std::chrono::year_month_day> parseIsoDate(std::string_view text)
{
    using namespace std::chrono;
    if (text.size() != 10 || text[4] != '-' || text[7] != '-')
        return std::nullopt;
    const auto y = wholeNumber<unsigned>(text.substr(0, 4));
    const auto m = wholeNumber<unsigned>(text.substr(5, 2));
    const auto d = wholeNumber<unsigned>(text.substr(8, 2));
    if (!y || !m || !d)
        return std::nullopt;
    const year_month_day date{year(static_cast<int>(*y)), month(*m), day(*d)};
    return date.ok() ? std::optional(date) : std::nullopt;
}

std::string rfc822Date(std::chrono::year_month_day date)
{
    return noonOf(date, "+0000");
}

std::string httpDate(std::chrono::year_month_day date)
{
    return noonOf(date, "GMT");
}

std::string_view kindName(VideoKind kind)
{
    for (const auto& [k, name] : names)
        if (k == kind)
            return name;
    return "normal";
}

std::optional<VideoKind> parseVideoKind(std::string_view name)
{
    for (const auto& [k, n] : names)
        if (n == name)
            return k;
    return std::nullopt;
}

} // namespace service
