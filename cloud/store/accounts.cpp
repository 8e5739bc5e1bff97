#include "cloud/store/accounts.h"

#include "cloud/store/secrets.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

namespace gateway::cloud {

namespace {

using platform::Database;
using platform::MutexLock;
using platform::Statement;

constexpr const char *kTables = "CREATE TABLE IF NOT EXISTS users ("
                                " id INTEGER PRIMARY KEY AUTOINCREMENT,"
                                " email TEXT NOT NULL UNIQUE COLLATE NOCASE,"
                                " passwordHash BLOB NOT NULL,"
                                " profile BLOB NOT NULL,"
                                " acceptedTerms TEXT NOT NULL DEFAULT '');"
                                "CREATE TABLE IF NOT EXISTS sessions ("
                                " tokenHash BLOB PRIMARY KEY,"
                                " userId INTEGER NOT NULL REFERENCES users ON DELETE CASCADE,"
                                " expiresAt INTEGER NOT NULL);" // seconds since 1970
                                "CREATE TABLE IF NOT EXISTS termsAnswers ("
                                " id INTEGER PRIMARY KEY AUTOINCREMENT,"
                                " userId INTEGER NOT NULL REFERENCES users ON DELETE CASCADE,"
                                " answer TEXT NOT NULL,"
                                " request BLOB NOT NULL);";

QByteArray newProfile()
{
    QJsonObject profile;
    for (const char16_t *member : {u"title",
                                   u"firstName",
                                   u"middleName",
                                   u"lastName",
                                   u"suffix",
                                   u"profession",
                                   u"phoneNumber",
                                   u"workplaceName"}) {
        profile.insert(QString::fromUtf16(member), QJsonValue());
    }
    profile.insert(QStringLiteral("workplaces"), QJsonArray());
    return QJsonDocument(profile).toJson(QJsonDocument::Compact);
}

QByteArray credentialsKey(const QString &email, const QString &password)
{
    return sha256(email.toLower().toUtf8() + '\0' + password.toUtf8());
}

} // namespace

Accounts::Accounts(const QString &path, bool durable, const platform::Clock &clock)
    : m_clock(clock), m_database(Database::open(path, Database::Access::readWrite))
{
    const MutexLock lock(m_mutex);
    m_database.useDurableWriteAheadLog();
    if (!durable) {
        m_database.exec("PRAGMA synchronous = OFF;");
    }
    m_database.exec(kTables);
}

void Accounts::putUser(const QString &email, const QString &password)
{
    const QByteArray hash = hashPassword(password);
    const MutexLock lock(m_mutex);
    m_knownCredentials.clear();
    Statement statement =
        m_database.prepare("INSERT INTO users (email, passwordHash, profile) VALUES (?, ?, ?)"
                           " ON CONFLICT (email) DO UPDATE SET passwordHash = excluded.passwordHash");
    statement.bindAll(email, hash, newProfile()).run();
}

bool Accounts::hasUsers() const
{
    const MutexLock lock(m_mutex);
    return m_database.integer("SELECT EXISTS (SELECT 1 FROM users)") != 0;
}

std::optional<UserId> Accounts::userWithPassword(const QString &email, const QString &password)
{
    const QByteArray key = credentialsKey(email, password);
    UserId user = 0;
    QByteArray hash;
    {
        const MutexLock lock(m_mutex);
        const auto known = m_knownCredentials.constFind(key);
        if (known != m_knownCredentials.constEnd()) {
            return *known;
        }
        Statement statement = m_database.prepare("SELECT id, passwordHash FROM users WHERE email = ?");
        statement.bind(1, email);
        if (!statement.step()) {
            return std::nullopt;
        }
        user = statement.integer(0);
        hash = statement.blob(1);
    }
    if (!passwordMatches(password, hash)) {
        return std::nullopt;
    }
    const MutexLock lock(m_mutex);
    Statement unchanged = m_database.prepare("SELECT 1 FROM users WHERE id = ? AND passwordHash = ?");
    if (unchanged.bindAll(user, hash).step()) {
        m_knownCredentials.insert(key, user);
    }
    return user;
}

Session Accounts::beginSession(UserId user, std::chrono::seconds lifetime)
{
    const Session session{randomToken(), user, m_clock.now().addSecs(lifetime.count())};
    const MutexLock lock(m_mutex);
    Statement expired = m_database.prepare("DELETE FROM sessions WHERE expiresAt <= ?");
    expired.bind(1, m_clock.now().toSecsSinceEpoch()).run();
    Statement statement =
        m_database.prepare("INSERT INTO sessions (tokenHash, userId, expiresAt) VALUES (?, ?, ?)");
    statement.bindAll(sha256(session.token), user, session.expiresAt.toSecsSinceEpoch()).run();
    return session;
}

std::optional<Session> Accounts::session(const QByteArray &token) const
{
    const qint64 now = m_clock.now().toSecsSinceEpoch();
    const MutexLock lock(m_mutex);
    Statement statement =
        m_database.prepare("SELECT userId, expiresAt FROM sessions WHERE tokenHash = ? AND expiresAt > ?");
    if (!statement.bindAll(sha256(token), now).step()) {
        return std::nullopt;
    }
    return Session{token, statement.integer(0), QDateTime::fromSecsSinceEpoch(statement.integer(1), Qt::UTC)};
}

void Accounts::endSession(const QByteArray &token)
{
    const MutexLock lock(m_mutex);
    Statement statement = m_database.prepare("DELETE FROM sessions WHERE tokenHash = ?");
    statement.bind(1, sha256(token)).run();
}

void Accounts::endAllSessions()
{
    const MutexLock lock(m_mutex);
    m_database.exec("DELETE FROM sessions;");
}

QJsonObject Accounts::profile(UserId user) const
{
    const MutexLock lock(m_mutex);
    Statement statement = m_database.prepare("SELECT profile, email FROM users WHERE id = ?");
    if (!statement.bindAll(user).step()) {
        return {};
    }
    QJsonObject profile = QJsonDocument::fromJson(statement.blob(0)).object();
    profile.insert(QStringLiteral("id"), static_cast<qint64>(user));
    profile.insert(QStringLiteral("email"), statement.text(1));
    return profile;
}

void Accounts::putProfile(UserId user, QJsonObject profile)
{
    profile.remove(QStringLiteral("id"));
    profile.remove(QStringLiteral("email"));
    const MutexLock lock(m_mutex);
    Statement statement = m_database.prepare("UPDATE users SET profile = ? WHERE id = ?");
    statement.bindAll(QJsonDocument(profile).toJson(QJsonDocument::Compact), user).run();
}

void Accounts::setPassword(UserId user, const QString &password)
{
    const QByteArray hash = hashPassword(password);
    const MutexLock lock(m_mutex);
    m_knownCredentials.clear();
    Statement statement = m_database.prepare("UPDATE users SET passwordHash = ? WHERE id = ?");
    statement.bindAll(hash, user).run();
}

bool Accounts::isPassword(UserId user, const QString &password) const
{
    return passwordMatches(password, passwordHash(user));
}

QByteArray Accounts::passwordHash(UserId user) const
{
    const MutexLock lock(m_mutex);
    Statement statement = m_database.prepare("SELECT passwordHash FROM users WHERE id = ?");
    return statement.bindAll(user).step() ? statement.blob(0) : QByteArray();
}

QString Accounts::acceptedTerms(UserId user) const
{
    const MutexLock lock(m_mutex);
    Statement statement = m_database.prepare("SELECT acceptedTerms FROM users WHERE id = ?");
    return statement.bindAll(user).step() ? statement.text(0) : QString();
}

void Accounts::setAcceptedTerms(UserId user, const QString &version)
{
    const MutexLock lock(m_mutex);
    Statement statement = m_database.prepare("UPDATE users SET acceptedTerms = ? WHERE id = ?");
    statement.bindAll(version, user).run();
}

void Accounts::recordTermsAnswer(UserId user, const QString &answer, const QJsonObject &request)
{
    const MutexLock lock(m_mutex);
    Statement statement =
        m_database.prepare("INSERT INTO termsAnswers (userId, answer, request) VALUES (?, ?, ?)");
    statement.bindAll(user, answer, QJsonDocument(request).toJson(QJsonDocument::Compact)).run();
}

QJsonArray Accounts::termsAnswers() const
{
    const MutexLock lock(m_mutex);
    Statement statement = m_database.prepare("SELECT email, answer, request FROM termsAnswers"
                                             " JOIN users ON users.id = userId ORDER BY termsAnswers.id");
    QJsonArray answers;
    while (statement.step()) {
        answers.append(
            QJsonObject{{QStringLiteral("email"), statement.text(0)},
                        {QStringLiteral("answer"), statement.text(1)},
                        {QStringLiteral("request"), QJsonDocument::fromJson(statement.blob(2)).object()}});
    }
    return answers;
}

} // namespace gateway::cloud
