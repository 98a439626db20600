#include "downloads/FileTags.h"

#include <algorithm>
#include <utility>

namespace {

// Characters that show nothing themselves: direction controls (an override
// makes a title read backwards), the byte order mark, annotation marks and
// noncharacters.
bool isInvisibleControl(char32_t c)
{
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) ||
           c == 0xFEFF || (c >= 0xFFF9 && c <= 0xFFFB) || (c >= 0xFDD0 && c <= 0xFDEF) || (c & 0xFFFE) == 0xFFFE;
}

bool isBlank(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || QChar::isSpace(c);
}

struct Language {
    const char16_t* twoLetters;
    const char16_t* bibliographic;
    const char16_t* terminological;
};

// The languages the service most often has subtitles in.
constexpr Language languages[] = {
    {u"ar", u"ara", u"ara"}, {u"bg", u"bul", u"bul"}, {u"bn", u"ben", u"ben"}, {u"ca", u"cat", u"cat"},
    {u"cs", u"cze", u"ces"}, {u"da", u"dan", u"dan"}, {u"de", u"ger", u"deu"}, {u"el", u"gre", u"ell"},
    {u"en", u"eng", u"eng"}, {u"es", u"spa", u"spa"}, {u"et", u"est", u"est"}, {u"eu", u"baq", u"eus"},
    {u"fa", u"per", u"fas"}, {u"fi", u"fin", u"fin"}, {u"fr", u"fre", u"fra"}, {u"gl", u"glg", u"glg"},
    {u"he", u"heb", u"heb"}, {u"hi", u"hin", u"hin"}, {u"hr", u"hrv", u"hrv"}, {u"hu", u"hun", u"hun"},
    {u"id", u"ind", u"ind"}, {u"is", u"ice", u"isl"}, {u"it", u"ita", u"ita"}, {u"ja", u"jpn", u"jpn"},
    {u"ko", u"kor", u"kor"}, {u"lt", u"lit", u"lit"}, {u"lv", u"lav", u"lav"}, {u"ms", u"may", u"msa"},
    {u"nb", u"nob", u"nob"}, {u"nl", u"dut", u"nld"}, {u"nn", u"nno", u"nno"}, {u"no", u"nor", u"nor"},
    {u"pl", u"pol", u"pol"}, {u"pt", u"por", u"por"}, {u"ro", u"rum", u"ron"}, {u"ru", u"rus", u"rus"},
    {u"sk", u"slo", u"slk"}, {u"sl", u"slv", u"slv"}, {u"sr", u"srp", u"srp"}, {u"sv", u"swe", u"swe"},
    {u"ta", u"tam", u"tam"}, {u"te", u"tel", u"tel"}, {u"th", u"tha", u"tha"}, {u"tr", u"tur", u"tur"},
    {u"uk", u"ukr", u"ukr"}, {u"ur", u"urd", u"urd"}, {u"vi", u"vie", u"vie"}, {u"zh", u"chi", u"zho"},
};

} // namespace

bool FileTags::isEmpty() const
{
    return title.isEmpty() && artist.isEmpty() && date.isEmpty() && address.isEmpty() && album.isEmpty() &&
           track == 0 && coverFile.isEmpty() && subtitleFile.isEmpty() && subtitleLanguage.isEmpty() &&
           subtitleCopy.isEmpty();
}

QString FileTags::subtitleLanguageCode(bool bibliographic) const
{
    // "en", "en-US", "pt_BR", "zh-Hans": the language is the first part.
    QStringView primary = subtitleLanguage;
    primary = primary.left(
        std::find_if(primary.begin(), primary.end(), [](QChar c) { return c == u'-' || c == u'_'; }) - primary.begin());
    for (const Language& language : languages) {
        if (primary.compare(language.twoLetters, Qt::CaseInsensitive) == 0)
            return QString::fromUtf16(bibliographic ? language.bibliographic : language.terminological);
    }
    return {};
}

QString FileTags::clean(const QString& text, qsizetype cap)
{
    QString out;
    out.reserve(std::min(text.size(), std::max<qsizetype>(cap, 0)));
    bool blank = false; // one is owed before the next character, unless the text ends
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t c = text[i].unicode();
        qsizetype units = 1;
        if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            c = QChar::surrogateToUcs4(text[i], text[i + 1]);
            units = 2;
        } else if (QChar::isSurrogate(c)) {
            continue;
        }
        const qsizetype at = i;
        i += units - 1;
        if (isBlank(c)) {
            blank = !out.isEmpty();
            continue;
        }
        if (isInvisibleControl(c))
            continue;
        if (out.size() + (blank ? 1 : 0) + units > cap)
            break;
        if (std::exchange(blank, false))
            out += u' ';
        out += QStringView(text).mid(at, units);
    }
    return out;
}
