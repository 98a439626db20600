#include "service/Options.h"

#include "service/WholeNumber.h"

#include <cstdlib>
#include <optional>
#include <pwd.h>
#include <stdexcept>
#include <unistd.h>

namespace service {

namespace {


[[noreturn]] void fail(const std::string& message)
{
    throw std::invalid_argument(message);
}

// "KEY=VALUE" split at its first "=", both parts non-empty.
std::pair<std::string, std::string> keyValue(const std::string& option, const std::string& text)
{
    const auto eq = text.find('=');
    if (eq == std::string::npos || eq == 0 || eq + 1 == text.size())
        fail(option + " wants KEY=VALUE, not \"" + text + "\"");
    return {text.substr(0, eq), text.substr(eq + 1)};
}

} // namespace

Options Options::parse(const std::vector<std::string>& arguments)
{
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string name = arguments[i];
        std::optional<std::string> inlineValue;
        if (const auto eq = name.find('='); name.starts_with("--") && eq != std::string::npos) {
            inlineValue = name.substr(eq + 1);
            name.resize(eq);
        }
        const auto value = [&]() -> std::string {
            if (inlineValue)
                return *inlineValue;
            if (i + 1 >= arguments.size())
                fail(name + " needs a value");
            return arguments[++i];
        };
        const auto flag = [&] {
            if (inlineValue)
                fail(name + " takes no value");
        };

        if (name == "--help" || name == "-h") {
            flag();
            options.help = true;
        } else if (name == "--generate-only") {
            flag();
            options.generateOnly = true;
        } else if (name == "--port") {
            const std::string text = value();
            const auto port = wholeNumber<unsigned short>(text);
            if (!port)
                fail("--port wants a number from 0 to 65535, not \"" + text + "\"");
            options.port = *port;
        } else if (name == "--data") {
            options.dataDir = value();
            if (options.dataDir.empty())
                fail("--data needs a folder");
        } else if (name == "--latency") {
            const auto [kindName, msText] = keyValue(name, value());
            const auto kind = parseRequestKind(kindName);
            if (!kind)
                fail("--latency: unknown kind \"" + kindName + "\" (feed, watch, parser, thumbnail, media)");
            const auto ms = wholeNumber<unsigned>(msText);
            if (!ms)
                fail("--latency: \"" + msText + "\" is no number of milliseconds");
            options.faults.latency[*kind] = std::chrono::milliseconds(*ms);
        } else if (name == "--parser") {
            const std::string mode = value();
            if (mode == "ok")
                options.faults.parser = ParserMode::ok;
            else if (mode == "down")
                options.faults.parser = ParserMode::down;
            else if (mode == "garbage")
                options.faults.parser = ParserMode::garbage;
            else
                fail("--parser wants ok, down or garbage, not \"" + mode + "\"");
        } else if (name == "--fail-stream") {
            const auto [id, statusText] = keyValue(name, value());
            const auto status = wholeNumber<int>(statusText);
            if (!status || *status < 200 || *status > 599)
                fail("--fail-stream: \"" + statusText + "\" is no HTTP status from 200 to 599");
            options.faults.failStreams[id] = *status;
        } else if (name == "--cut-stream") {
            options.faults.cutStreams.insert(value());
        } else if (name == "--stall-stream") {
            options.faults.stallStreams.insert(value());
        } else if (name == "--feed-size") {
            const std::string text = value();
            const auto size = wholeNumber<std::size_t>(text);
            if (!size || *size > 100000)
                fail("--feed-size wants a number of items up to 100000, not \"" + text + "\"");
            options.faults.feedSize = *size;
        } else if (name == "--hostile") {
            options.faults.hostileFile = value();
            if (options.faults.hostileFile.empty())
                fail("--hostile needs a file");
        } else {
            fail("unknown argument \"" + arguments[i] + "\"");
        }
    }
    return options;
}

std::string Options::usage()
{
    return "Usage: melodrift-service [options]\n"
           "The local stand-in of the video service: search feed, watch pages, parser\n"
           "service, thumbnails and media streams, on 127.0.0.1. The first line written\n"
           "to standard output is the base address, such as http://127.0.0.1:40123.\n"
           "\n"
           "  --port N               listen on port N (0, the default: any free port)\n"
           "  --data DIR             the catalogue folder (default: " +
           defaultDataDir().string() +
           ");\n"
           "                         generated with ffmpeg when DIR/catalogue.tsv is missing\n"
           "  --generate-only        generate the catalogue if needed, then exit\n"
           "  --latency KIND=MS      wait MS milliseconds before answering KIND requests\n"
           "                         (feed, watch, parser, thumbnail, media); repeatable\n"
           "  --parser ok|down|garbage\n"
           "                         the parser service works, closes without a reply, or\n"
           "                         answers neither DONE nor YERR\n"
           "  --fail-stream ID=STATUS  the streams of video ID answer STATUS\n"
           "  --cut-stream ID        the streams of video ID end after half the body\n"
           "  --stall-stream ID      the streams of video ID stop after a few bytes\n"
           "  --feed-size N          pad every feed answer to N items by repeating matches\n"
           "  --hostile FILE         add the videos a hostile service could send: a feed\n"
           "                         link and a stream at the local FILE, a picture bomb,\n"
           "                         terminal escapes and \"%1\" in titles (search \"hostile\");\n"
           "                         a request that carries FILE's bytes is written down\n"
           "                         on standard output (\"SECRET ARRIVED in ...\")\n"
           "  --help                 this text\n";
}

std::filesystem::path Options::defaultDataDir()
{
    if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg == '/')
        return std::filesystem::path(xdg) / "melodrift-service";
    std::filesystem::path home;
    if (const char* env = std::getenv("HOME"); env && *env)
        home = env;
    else if (const passwd* entry = ::getpwuid(::getuid()); entry && entry->pw_dir)
        home = entry->pw_dir;
    else
        home = "/tmp";
    return home / ".local/share/melodrift-service";
}

} // namespace service
