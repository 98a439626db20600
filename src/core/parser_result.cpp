#include "core/parser_result.h"

#include "core/bounded_text_iarchive.h"

#include <boost/archive/text_oarchive.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/vector.hpp>

#include <sstream>
#include <streambuf>

namespace {

// Reads a string_view in place, and can tell where it is.
class view_streambuf : public std::streambuf {
public:
    explicit view_streambuf(std::string_view text)
    {
        char* begin = const_cast<char*>(text.data());
        setg(begin, begin, begin + text.size());
    }

protected:
    pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override
    {
        if (off != 0 || dir != std::ios_base::cur || !(which & std::ios_base::in))
            return pos_type(off_type(-1));
        return pos_type(gptr() - eback());
    }
};

// The least text one stream entry takes: three empty strings, each a "0" and a blank.
constexpr std::size_t min_result_url_bytes = 6;

} // namespace

std::string save_parser_result(const parser_result& result)
{
    std::ostringstream out;
    {
        boost::archive::text_oarchive archive(out);
        archive << result;
    }
    return out.str();
}

void load_parser_result(std::string_view text, parser_result& result)
{
    view_streambuf buffer(text);
    std::istream in(&buffer);
    bounded_text_iarchive archive(in, text.size(), min_result_url_bytes);
    archive >> result;
}
