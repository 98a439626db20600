#include "service/Options.h"

#include "service/WholeNumber.h"

#include <QCommandLineParser>

#include <cstdlib>
#include <pwd.h>
#include <stdexcept>
#include <unistd.h>

namespace service {

namespace {

[[noreturn]] void fail(const std::string& message)
{
    throw std::invalid_argument(message);
}

// Arguments are bytes: ids and file names keep them as they came.
QString fromLocal(const std::string& text)
{
    return QString::fromLocal8Bit(text.data(), static_cast<qsizetype>(text.size()));
}

std::string toLocal(const QString& text)
{
    return text.toLocal8Bit().toStdString();
}

// "KEY=VALUE" split at its first "=", both parts non-empty.
std::pair<std::string, std::string> keyValue(const std::string& option, const std::string& text)
{
    const auto eq = text.find('=');
    if (eq == std::string::npos || eq == 0 || eq + 1 == text.size())
        fail(option + " wants KEY=VALUE, not \"" + text + "\"");
    return {text.substr(0, eq), text.substr(eq + 1)};
}

struct CommandLine {
    QCommandLineParser parser;
    const QCommandLineOption port{QStringLiteral("port"),
                                  QStringLiteral("listen on port N (0, the default: any free port)"),
                                  QStringLiteral("N")};
    const QCommandLineOption data{
        QStringLiteral("data"),
        QStringLiteral("the catalogue folder (default: %1); generated with ffmpeg when DIR/catalogue.tsv is missing, "
                       "its WebP thumbnails and uploads.tsv added when they are")
            .arg(fromLocal(Options::defaultDataDir().string())),
        QStringLiteral("DIR")};
    const QCommandLineOption generateOnly{QStringLiteral("generate-only"),
                                          QStringLiteral("generate the catalogue if needed, then exit")};
    const QCommandLineOption latency{QStringLiteral("latency"),
                                     QStringLiteral("wait MS milliseconds before answering KIND requests (feed, "
                                                    "watch, parser, thumbnail, subtitles, media); repeatable"),
                                     QStringLiteral("KIND=MS")};
    const QCommandLineOption parserMode{QStringLiteral("parser"),
                                        QStringLiteral("the parser service works, closes without a reply, or "
                                                       "answers neither DONE nor YERR"),
                                        QStringLiteral("ok|down|garbage")};
    const QCommandLineOption failStream{QStringLiteral("fail-stream"),
                                        QStringLiteral("the streams of video ID answer STATUS"),
                                        QStringLiteral("ID=STATUS")};
    const QCommandLineOption cutStream{QStringLiteral("cut-stream"),
                                       QStringLiteral("the streams of video ID end after BYTES of the body (default: "
                                                      "half of it), for its first TIMES requests (default: all)"),
                                       QStringLiteral("ID[:BYTES[:TIMES]]")};
    const QCommandLineOption stallStream{QStringLiteral("stall-stream"),
                                         QStringLiteral("the streams of video ID stop after a few bytes"),
                                         QStringLiteral("ID")};
    const QCommandLineOption throttle{QStringLiteral("throttle"),
                                      QStringLiteral("send whole streams and ranges over 10 MiB at KIB KiB/s at most"),
                                      QStringLiteral("KIB")};
    const QCommandLineOption perConnection{QStringLiteral("per-connection"),
                                           QStringLiteral("send every stream answer at KIB KiB/s at most"),
                                           QStringLiteral("KIB")};
    const QCommandLineOption expire{QStringLiteral("expire"),
                                    QStringLiteral("stream addresses expire SECONDS after their page was made (403 "
                                                   "then)"),
                                    QStringLiteral("SECONDS")};
    const QCommandLineOption keepAlive{QStringLiteral("keep-alive"),
                                       QStringLiteral("keep a connection open after a whole answer, for the "
                                                      "client's next request, as the service's media servers do")};
    const QCommandLineOption feedSize{QStringLiteral("feed-size"),
                                      QStringLiteral("pad every feed answer to N items by repeating matches"),
                                      QStringLiteral("N")};
    const QCommandLineOption hostile{
        QStringLiteral("hostile"),
        QStringLiteral("add the videos a hostile service could send: a feed link and a stream at the local FILE, "
                       "a picture bomb, terminal escapes and \"%1\" in titles, terminal escapes in a channel name "
                       "and one of 40000 bytes, a 6 MiB subtitle track of control characters (search \"hostile\"); "
                       "a request that carries FILE's bytes is written down on standard output (\"SECRET ARRIVED "
                       "in ...\")"),
        QStringLiteral("FILE")};
    const QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("this text")};

    CommandLine()
    {
        parser.setApplicationDescription(
            QStringLiteral("The local stand-in of the video service, on 127.0.0.1:\n"
                           "  /feeds/api/videos?q=WORDS           the search feed (RSS)\n"
                           "  /watch?v=ID                         watch pages\n"
                           "  /cgi-bin/zor.parser                 the parser service (a watch page POSTed)\n"
                           "  /vi/ID/NAME.jpg                     thumbnails, 320x180\n"
                           "  /vi/ID/NAME.webp                    the same, 1280x720 WebP\n"
                           "  /api/timedtext?v=ID&lang=L&fmt=vtt  subtitles (WebVTT), L: en or de\n"
                           "  /videoplayback?...                  media streams, as the watch pages give them\n"
                           "The first line written to standard output is the base address, such as\n"
                           "http://127.0.0.1:40123; each media answer adds \"media ID ITAG STATUS FIRST-LAST\n"
                           "SENT CONNECTION\" once it is over (CONNECTION: which one it came on, from 1)."));
        parser.addOptions({port, data, generateOnly, latency, parserMode, failStream, cutStream, stallStream, throttle,
                           perConnection, expire, keepAlive, feedSize, hostile, help});
    }

    std::string value(const QCommandLineOption& option) const { return toLocal(parser.value(option)); }

    std::vector<std::string> values(const QCommandLineOption& option) const
    {
        std::vector<std::string> all;
        for (const QString& value : parser.values(option))
            all.push_back(toLocal(value));
        return all;
    }
};

} // namespace

Options Options::parse(const std::vector<std::string>& arguments)
{
    CommandLine line;
    QStringList list{QStringLiteral("melodrift-service")};
    for (const std::string& argument : arguments)
        list.append(fromLocal(argument));
    const bool parsed = line.parser.parse(list);

    Options options;
    if (line.parser.isSet(line.help)) {
        options.help = true;
        return options;
    }
    if (!parsed)
        fail(toLocal(line.parser.errorText()));
    if (!line.parser.positionalArguments().isEmpty())
        fail("Unexpected argument '" + toLocal(line.parser.positionalArguments().constFirst()) + "'.");

    options.generateOnly = line.parser.isSet(line.generateOnly);
    options.keepAlive = line.parser.isSet(line.keepAlive);
    if (line.parser.isSet(line.port)) {
        const std::string text = line.value(line.port);
        const auto port = wholeNumber<unsigned short>(text);
        if (!port)
            fail("--port wants a number from 0 to 65535, not \"" + text + "\"");
        options.port = *port;
    }
    if (line.parser.isSet(line.data)) {
        options.dataDir = line.value(line.data);
        if (options.dataDir.empty())
            fail("--data needs a folder");
    }
    for (const std::string& text : line.values(line.latency)) {
        const auto [kindName, msText] = keyValue("--latency", text);
        const auto kind = parseRequestKind(kindName);
        if (!kind)
            fail("--latency: unknown kind \"" + kindName + "\" (feed, watch, parser, thumbnail, subtitles, media)");
        const auto ms = wholeNumber<unsigned>(msText);
        if (!ms)
            fail("--latency: \"" + msText + "\" is no number of milliseconds");
        options.faults.latency[*kind] = std::chrono::milliseconds(*ms);
    }
    if (line.parser.isSet(line.parserMode)) {
        const std::string mode = line.value(line.parserMode);
        if (mode == "ok")
            options.faults.parser = ParserMode::ok;
        else if (mode == "down")
            options.faults.parser = ParserMode::down;
        else if (mode == "garbage")
            options.faults.parser = ParserMode::garbage;
        else
            fail("--parser wants ok, down or garbage, not \"" + mode + "\"");
    }
    for (const std::string& text : line.values(line.failStream)) {
        const auto [id, statusText] = keyValue("--fail-stream", text);
        const auto status = wholeNumber<int>(statusText);
        if (!status || *status < 200 || *status > 599)
            fail("--fail-stream: \"" + statusText + "\" is no HTTP status from 200 to 599");
        options.faults.failStreams[id] = *status;
    }
    for (const std::string& text : line.values(line.cutStream)) {
        auto cut = StreamCut::parse(text);
        if (!cut)
            fail("--cut-stream wants ID, ID:BYTES or ID:BYTES:TIMES (TIMES at least 1), not \"" + text + "\"");
        options.faults.cutStreams.insert_or_assign(std::move(cut->first), cut->second);
    }
    for (std::string& id : line.values(line.stallStream))
        options.faults.stallStreams.insert(std::move(id));
    for (const auto& [option, kib] : {std::pair{&line.throttle, &options.faults.throttleKiB},
                                      std::pair{&line.perConnection, &options.faults.perConnectionKiB}}) {
        if (!line.parser.isSet(*option))
            continue;
        const std::string text = line.value(*option);
        const auto number = wholeNumber<std::uint32_t>(text);
        if (!number || *number == 0)
            fail("--" + toLocal(option->names().constFirst()) + " wants a number of KiB/s from 1, not \"" + text +
                 "\"");
        *kib = *number;
    }
    if (line.parser.isSet(line.expire)) {
        const std::string text = line.value(line.expire);
        const auto seconds = wholeNumber<std::uint32_t>(text);
        if (!seconds)
            fail("--expire wants a number of seconds, not \"" + text + "\"");
        options.faults.expireAfter = std::chrono::seconds(*seconds);
    }
    if (line.parser.isSet(line.feedSize)) {
        const std::string text = line.value(line.feedSize);
        const auto size = wholeNumber<std::size_t>(text);
        if (!size || *size > 100000)
            fail("--feed-size wants a number of items up to 100000, not \"" + text + "\"");
        options.faults.feedSize = *size;
    }
    if (line.parser.isSet(line.hostile)) {
        options.faults.hostileFile = line.value(line.hostile);
        if (options.faults.hostileFile.empty())
            fail("--hostile needs a file");
    }
    return options;
}

std::string Options::usage()
{
    return toLocal(CommandLine().parser.helpText());
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
