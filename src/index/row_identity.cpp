#include "index/row_identity.h"

#include "platform/sqlite/database.h"

namespace gateway::index {

using platform::Database;
using platform::Statement;

namespace {

const QString kScheme = QStringLiteral("x-coredata://");

/// The row that an address names; nothing for every other text.
template <typename... Bindings>
std::optional<std::int64_t> rowAtAddress(Database &database,
                                         const QString &identity,
                                         const QString &entity,
                                         const char *lookup,
                                         Bindings... bindings)
{
    if (!identity.startsWith(kScheme)) {
        return std::nullopt;
    }
    const auto key = RowAddress(database, entity).keyIn(identity);
    if (!key) {
        return std::nullopt;
    }
    Statement row = database.prepare(lookup);
    return row.bindAll(*key, bindings...).step() ? std::optional(row.integer(0)) : std::nullopt;
}

} // namespace

RowAddress::RowAddress(Database &database, const QString &entity)
{
    Statement row = database.prepare("SELECT storeIdentity FROM Ledger");
    row.step();
    m_prefix = kScheme + row.text(0) + QLatin1Char('/') + entity + QStringLiteral("/p");
}

std::optional<std::int64_t> RowAddress::keyIn(const QString &address) const
{
    bool isNumber = false;
    const std::int64_t key = address.mid(m_prefix.size()).toLongLong(&isNumber);
    return address.startsWith(m_prefix) && isNumber ? std::optional(key) : std::nullopt;
}

std::optional<std::int64_t> findStudy(Database &database, const QString &identity)
{
    const QString wanted = identity.trimmed();
    if (wanted.isEmpty()) {
        return std::nullopt;
    }
    if (const auto key =
            rowAtAddress(database, wanted, QStringLiteral("Study"), "SELECT pk FROM Study WHERE pk = ?")) {
        return key;
    }
    Statement row = database.prepare("SELECT pk FROM Study WHERE studyInstanceUID = ?");
    return row.bindAll(wanted).step() ? std::optional(row.integer(0)) : std::nullopt;
}

std::optional<std::int64_t> findSeries(Database &database, std::int64_t study, const QString &identity)
{
    const QString wanted = identity.trimmed();
    if (wanted.isEmpty()) {
        return std::nullopt;
    }
    if (const auto key = rowAtAddress(database,
                                      wanted,
                                      QStringLiteral("Series"),
                                      "SELECT pk FROM Series WHERE pk = ? AND study = ?",
                                      study)) {
        return key;
    }
    Statement row = database.prepare("SELECT pk FROM Series WHERE study = ? AND seriesInstanceUID = ?");
    return row.bindAll(study, wanted).step() ? std::optional(row.integer(0)) : std::nullopt;
}

} // namespace gateway::index
