// Feeds arbitrary bytes to the parser service's archive reader. Whatever it
// accepts must write back and read again as the same record.
#include "core/parser_result.h"

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    parser_result read;
    try {
        load_parser_result(std::string_view(reinterpret_cast<const char*>(data), size), read);
    } catch (const std::exception&) {
        return 0;
    }
    parser_result again;
    load_parser_result(save_parser_result(read), again);
    if (!(again == read))
        std::abort();
    return 0;
}
