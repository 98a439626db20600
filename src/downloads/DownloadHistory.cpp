#include "downloads/DownloadHistory.h"

#include "platform/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QUuid>
#include <QVariant>

#include <iterator>

using platform::Log;

namespace {

// Each step takes the store from the version before it to its own; a store is
// brought up to date one step at a time, each step in a transaction of its own.
const char* const migrations[] = {
    // 1: the first store.
    "CREATE TABLE downloads ("
    "  id INTEGER PRIMARY KEY,"
    "  added INTEGER NOT NULL,"  // ms since the epoch, UTC
    "  ended INTEGER,"
    "  audio INTEGER NOT NULL,"
    "  kind TEXT NOT NULL,"
    "  title TEXT NOT NULL,"
    "  link TEXT NOT NULL,"
    "  file TEXT NOT NULL,"
    "  size INTEGER NOT NULL DEFAULT -1,"
    "  state TEXT NOT NULL,"
    "  reason TEXT NOT NULL DEFAULT '')",
    // 2: where an unfinished download's bytes are, to go on from there.
    "ALTER TABLE downloads ADD COLUMN partial TEXT NOT NULL DEFAULT ''",
};
static_assert(std::size(migrations) == DownloadHistory::schemaVersion);

// Another program may be writing: wait for it rather than fail.
constexpr int busyMilliseconds = 2000;

QString stateName(DownloadRecord::State state)
{
    switch (state) {
    case DownloadRecord::State::Running: return QStringLiteral("running");
    case DownloadRecord::State::Done: return QStringLiteral("done");
    case DownloadRecord::State::Failed: return QStringLiteral("failed");
    case DownloadRecord::State::Canceled: return QStringLiteral("canceled");
    }
    return {};
}

DownloadRecord::State stateOf(const QString& name)
{
    for (const auto state : {DownloadRecord::State::Done, DownloadRecord::State::Failed, DownloadRecord::State::Canceled})
        if (name == stateName(state))
            return state;
    return DownloadRecord::State::Running;
}

// SQL's NULL is not an empty text.
QVariant text(const QString& value)
{
    return QVariant(value.isNull() ? QStringLiteral("") : value);
}

QVariant timeValue(const QDateTime& time)
{
    return time.isValid() ? QVariant(time.toMSecsSinceEpoch()) : QVariant(QMetaType(QMetaType::LongLong));
}

} // namespace

DownloadHistory::DownloadHistory(const QString& path)
    : path_(path), connection_(QStringLiteral("history-") + QUuid::createUuid().toString(QUuid::WithoutBraces))
{
    if (!QDir().mkpath(QFileInfo(path_).path())) {
        Log::line(QStringLiteral("The download history cannot be kept: no folder for ") + path_);
        return;
    }
    const QString why = openAt(path_);
    if (why.isEmpty()) {
        open_ = true;
        return;
    }
    setAsideAndStartAgain(why);
}

DownloadHistory::~DownloadHistory()
{
    {
        QSqlDatabase database = QSqlDatabase::database(connection_, false);
        if (database.isValid())
            database.close();
    }
    QSqlDatabase::removeDatabase(connection_);
}

QString DownloadHistory::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) + QStringLiteral("/history.sqlite");
}

QString DownloadHistory::openAt(const QString& path)
{
    QSqlDatabase database = QSqlDatabase::contains(connection_) ? QSqlDatabase::database(connection_, false)
                                                                : QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection_);
    database.setDatabaseName(path);
    database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyMilliseconds));
    if (!database.open())
        return database.lastError().text();
    // A file that is no SQLite database, or a damaged one, fails here.
    QSqlQuery query(database);
    if (!query.exec(QStringLiteral("PRAGMA quick_check")) || !query.next())
        return query.lastError().text();
    if (query.value(0).toString() != QLatin1String("ok"))
        return query.value(0).toString();
    if (!query.exec(QStringLiteral("PRAGMA user_version")) || !query.next())
        return query.lastError().text();
    const int version = query.value(0).toInt();
    // A store of a later program is not one this program can read.
    if (version < 0 || version > schemaVersion)
        return QStringLiteral("its schema is version %1, this program knows %2").arg(version).arg(schemaVersion);
    for (int step = version; step < schemaVersion; ++step) {
        QSqlQuery change(database);
        if (!database.transaction() || !change.exec(QString::fromLatin1(migrations[step])) ||
            !change.exec(QStringLiteral("PRAGMA user_version = %1").arg(step + 1)) || !database.commit()) {
            const QString error = change.lastError().text();
            database.rollback();
            return error;
        }
    }
    return {};
}

void DownloadHistory::setAsideAndStartAgain(const QString& why)
{
    {
        QSqlDatabase database = QSqlDatabase::database(connection_, false);
        if (database.isValid())
            database.close();
    }
    if (QFileInfo::exists(path_)) {
        const QString stamp = path_ + QStringLiteral(".damaged-") +
                              QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss"));
        QString aside = stamp;
        for (int n = 1; QFileInfo::exists(aside); ++n)
            aside = stamp + QLatin1Char('-') + QString::number(n);
        if (!QFile::rename(path_, aside)) {
            Log::line(QStringLiteral("The download history %1 cannot be read nor set aside: %2").arg(path_, why));
            return;
        }
        setAside_ = aside;
        Log::line(QStringLiteral("The download history could not be read (%1); it was set aside as %2 and a new one begun")
                      .arg(why, aside));
    }
    open_ = openAt(path_).isEmpty();
}

qint64 DownloadHistory::add(const DownloadRecord& entry)
{
    if (!open_)
        return 0;
    QSqlQuery query(QSqlDatabase::database(connection_, false));
    query.prepare(QStringLiteral("INSERT INTO downloads (added, ended, audio, kind, title, link, file, size, state, "
                                 "reason, partial) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"));
    for (const QVariant& value :
         {QVariant(entry.added.isValid() ? entry.added.toMSecsSinceEpoch() : QDateTime::currentMSecsSinceEpoch()),
          timeValue(entry.ended), QVariant(entry.audio ? 1 : 0), text(entry.kind), text(entry.title),
          text(entry.link), text(entry.file), QVariant(entry.size), QVariant(stateName(entry.state)),
          text(entry.reason), text(entry.partial)})
        query.addBindValue(value);
    if (!query.exec()) {
        Log::line(QStringLiteral("The download history cannot be written: ") + query.lastError().text());
        return 0;
    }
    return query.lastInsertId().toLongLong();
}

void DownloadHistory::update(const DownloadRecord& entry)
{
    if (!open_ || entry.id == 0)
        return;
    QSqlQuery query(QSqlDatabase::database(connection_, false));
    query.prepare(QStringLiteral("UPDATE downloads SET ended = ?, kind = ?, file = ?, size = ?, state = ?, reason = ?, "
                                 "partial = ? WHERE id = ?"));
    const QDateTime ended = entry.ended.isValid() || !entry.hasEnded() ? entry.ended : QDateTime::currentDateTimeUtc();
    for (const QVariant& value : {timeValue(ended), text(entry.kind), text(entry.file), QVariant(entry.size),
                                  QVariant(stateName(entry.state)), text(entry.reason),
                                  text(entry.hasEnded() ? QString() : entry.partial), QVariant(entry.id)})
        query.addBindValue(value);
    if (!query.exec())
        Log::line(QStringLiteral("The download history cannot be written: ") + query.lastError().text());
}

void DownloadHistory::remove(qint64 id)
{
    if (!open_)
        return;
    QSqlQuery query(QSqlDatabase::database(connection_, false));
    query.prepare(QStringLiteral("DELETE FROM downloads WHERE id = ?"));
    query.addBindValue(id);
    query.exec();
}

void DownloadHistory::removeEnded()
{
    if (!open_)
        return;
    QSqlQuery query(QSqlDatabase::database(connection_, false));
    query.prepare(QStringLiteral("DELETE FROM downloads WHERE state != ?"));
    query.addBindValue(stateName(DownloadRecord::State::Running));
    query.exec();
}

int DownloadHistory::count() const
{
    if (!open_)
        return 0;
    QSqlQuery query(QSqlDatabase::database(connection_, false));
    return query.exec(QStringLiteral("SELECT COUNT(*) FROM downloads")) && query.next() ? query.value(0).toInt() : 0;
}

QList<DownloadRecord> DownloadHistory::page(int offset, int count) const
{
    return select(QStringLiteral("ORDER BY id DESC LIMIT ? OFFSET ?"), {count, offset});
}

QList<DownloadRecord> DownloadHistory::olderThan(qint64 id, int count) const
{
    if (id <= 0)
        return page(0, count);
    return select(QStringLiteral("WHERE id < ? ORDER BY id DESC LIMIT ?"), {id, count});
}

QList<DownloadRecord> DownloadHistory::newerThan(qint64 id) const
{
    return select(QStringLiteral("WHERE id > ? ORDER BY id DESC"), {id});
}

QList<DownloadRecord> DownloadHistory::unfinished() const
{
    return select(QStringLiteral("WHERE state = ? AND partial != '' ORDER BY id"), {stateName(DownloadRecord::State::Running)});
}

void DownloadHistory::forgetPartials(const QDateTime& addedBefore)
{
    if (!open_)
        return;
    QSqlQuery query(QSqlDatabase::database(connection_, false));
    query.prepare(QStringLiteral("UPDATE downloads SET partial = '' WHERE partial != '' AND added < ?"));
    query.addBindValue(addedBefore.toMSecsSinceEpoch());
    if (!query.exec())
        Log::line(QStringLiteral("The download history cannot be written: ") + query.lastError().text());
}

QList<DownloadRecord> DownloadHistory::select(const QString& where, const QVariantList& values) const
{
    QList<DownloadRecord> entries;
    if (!open_)
        return entries;
    QSqlQuery query(QSqlDatabase::database(connection_, false));
    query.setForwardOnly(true);
    query.prepare(QStringLiteral("SELECT id, added, ended, audio, kind, title, link, file, size, state, reason, partial "
                                 "FROM downloads ") + where);
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec())
        return entries;
    while (query.next()) {
        DownloadRecord entry;
        entry.id = query.value(0).toLongLong();
        entry.added = QDateTime::fromMSecsSinceEpoch(query.value(1).toLongLong(), Qt::UTC);
        if (!query.value(2).isNull())
            entry.ended = QDateTime::fromMSecsSinceEpoch(query.value(2).toLongLong(), Qt::UTC);
        entry.audio = query.value(3).toInt() != 0;
        entry.kind = query.value(4).toString();
        entry.title = query.value(5).toString();
        entry.link = query.value(6).toString();
        entry.file = query.value(7).toString();
        entry.size = query.value(8).toLongLong();
        entry.state = stateOf(query.value(9).toString());
        entry.reason = query.value(10).toString();
        entry.partial = query.value(11).toString();
        entries.append(entry);
    }
    return entries;
}
