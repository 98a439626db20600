#include "catalogue/engine/Engine.h"

#include "catalogue/engine/AutoEngine.h"
#include "catalogue/engine/ClassicEngine.h"
#include "catalogue/engine/YtDlpEngine.h"

namespace engine {

QString nameOf(Kind kind)
{
    switch (kind) {
    case Kind::ytDlp:
        return QStringLiteral("yt-dlp");
    case Kind::classic:
        return QStringLiteral("classic");
    default:
        return QStringLiteral("auto");
    }
}

const QStringList& Choice::browsers()
{
    static const QStringList names{QStringLiteral("firefox"), QStringLiteral("chromium"), QStringLiteral("chrome"),
                                   QStringLiteral("brave"), QStringLiteral("edge")};
    return names;
}

std::optional<Kind> kindNamed(const QString& name)
{
    if (name == QLatin1String("auto"))
        return Kind::automatic;
    if (name == QLatin1String("classic"))
        return Kind::classic;
    if (name == QLatin1String("yt-dlp"))
        return Kind::ytDlp;
    return std::nullopt;
}

std::optional<Choice> Choice::resolve(const QString& option, Choice stored, QString* error)
{
    const QString name = !option.isEmpty() ? option : qEnvironmentVariable(environmentVariable);
    if (name.isEmpty())
        return stored;
    const auto kind = kindNamed(name);
    if (!kind) {
        *error = QStringLiteral("Unknown engine %1: auto, classic or yt-dlp.").arg(name);
        return std::nullopt;
    }
    stored.kind = *kind;
    return stored;
}

std::shared_ptr<Engine> Engine::create(const Choice& choice, const platform::ServiceEndpoints& endpoints)
{
    if (choice.kind == Kind::ytDlp)
        return std::make_shared<YtDlpEngine>(choice, endpoints);
    // A stand-in speaks the feed; only the real service needs the choice made.
    if (choice.kind == Kind::automatic && !endpoints.isStandIn())
        return std::make_shared<AutoEngine>(choice, endpoints);
    return std::make_shared<ClassicEngine>(endpoints, choice);
}

} // namespace engine
