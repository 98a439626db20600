#include "platform/SingleInstance.h"

#include "platform/Log.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

namespace platform {

namespace {

const QString applicationInterface = QStringLiteral("org.freedesktop.Application");
// A program that hangs holds the next start up for no longer than this.
constexpr int waitMilliseconds = 1000;
// Whoever calls gets no more than this many addresses through.
constexpr qsizetype mostAddresses = 64;

} // namespace

// org.freedesktop.Application on the first program's object.
class ApplicationAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    explicit ApplicationAdaptor(SingleInstance* instance) : QDBusAbstractAdaptor(instance), instance_(instance) {}

public slots:
    void Activate(const QVariantMap&) { emit instance_->activated(); }
    void Open(const QStringList& uris, const QVariantMap&) { emit instance_->opened(uris.mid(0, mostAddresses)); }
    // The program has no actions; to be asked for one brings it to the front.
    void ActivateAction(const QString&, const QVariantList&, const QVariantMap&) { emit instance_->activated(); }

private:
    SingleInstance* const instance_;
};

SingleInstance::SingleInstance(const QString& name, QObject* parent)
    : QObject(parent), name_(name), path_(QLatin1Char('/') + QString(name).replace(QLatin1Char('.'), QLatin1Char('/')))
{
}

SingleInstance::~SingleInstance()
{
    if (!owner_)
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterObject(path_);
    bus.unregisterService(name_);
}

bool SingleInstance::handOver(const QStringList& addresses)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    // The object is there before the name, so that a start that finds the name
    // also finds whom to call.
    new ApplicationAdaptor(this);
    if (!bus.registerObject(path_, this, QDBusConnection::ExportAdaptors))
        Log::line(QStringLiteral("Cannot offer %1 on the session bus").arg(path_));
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> claim = bus.interface()->registerService(
        name_, QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
    if (claim.isValid() && claim.value() == QDBusConnectionInterface::ServiceRegistered) {
        owner_ = true;
        return false;
    }
    bus.unregisterObject(path_);

    QDBusMessage call = addresses.isEmpty()
                            ? QDBusMessage::createMethodCall(name_, path_, applicationInterface, QStringLiteral("Activate"))
                            : QDBusMessage::createMethodCall(name_, path_, applicationInterface, QStringLiteral("Open"));
    if (!addresses.isEmpty())
        call << addresses;
    call << QVariantMap();
    const QDBusMessage reply = bus.call(call, QDBus::Block, waitMilliseconds);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return true;
    // The one that has the name does not answer: this one shows its own window.
    Log::line(QStringLiteral("The running Melodrift did not answer: ") + reply.errorMessage());
    return false;
}

} // namespace platform

#include "SingleInstance.moc"
