#pragma once

#include "browser/browser_table.h"
#include "cloud_client/qrn_qido_api.h"
#include "index/cloud_deletions.h"
#include "log/writing/store_log_emitter.h"

#include <QtCore/QMap>

#include <functional>
#include <optional>

namespace gateway::cloud_client {
class QrnDeleteAPIProtocol;
}

namespace gateway::platform {
class UserDefaults;
}

namespace gateway::browser {

/// What the tables of the cloud work with; all outlive them.
struct CloudBrowserParts
{
    cloud_client::QrnQidoAPIProtocol &queries;
    cloud_client::QrnDeleteAPIProtocol &deletes;
    log::StoreLogEmitter &emitter;
    platform::UserDefaults &defaults; ///< holds the device id
    index::CloudDeletions &record;    ///< what goes from the cloud stays here
    BrowserRuntime runtime;           ///< its pool is the one for the network

    /// What the session is known by; nothing while nobody is signed in. Called on any thread.
    std::function<std::optional<QString>()> session;
};

/// A table of the cloud: queries page by page, deletes one after the other, and logs both.
///
/// Rows belong to the session that asked for them: another one neither sees them nor gets their answer. A
/// deletion belongs to the session in which it began, and stops where that ends.
///
/// Owner: whoever shows it. Thread: main.
class CloudTable : public BrowserTable
{
    Q_OBJECT

public:
    /// Signed out, the table is emptied; signed in as somebody else, too.
    void sessionChanged();

    /// Forgets what was found. Filters stay. An answer under way fills the table again.
    virtual void resetAfterSignOut();

protected:
    using Details = QMap<QString, QString>;

    /// The words for the log that tell one table from the other.
    struct LogWords
    {
        log::GatewayLogAction fetchStarted, fetchSucceeded, fetchFailed;
        log::GatewayLogAction batchStarted, batchCompleted, batchFailed;
        log::GatewayLogAction itemStarted, itemSucceeded, itemFailed;
        QString itemKey, hashKey;                    ///< of one target
        QString requestedKey, deletedKey, failedKey; ///< of lists of targets
        QString noTargetReason;
        Details context; ///< stands in every event
    };

    /// \param study  of a table of series, the study that they belong to.
    CloudTable(TableKind kind,
               const CloudBrowserParts &parts,
               LogWords words,
               QString study,
               std::shared_ptr<const TableRows> noRows,
               SortOrder order);

    cloud_client::QrnQidoAPIProtocol &queries() const { return m_parts.queries; }

    Delete makeDelete(std::optional<index::OutsideCloud> told) override;
    bool isReloadMeant() const override;
    qsizetype deletedAtOnce() const override { return 1; }
    bool isAnswerStillMeant() const override;
    QString loadStarts(const QString &trigger) override;
    void loadEnded(const LoadReport &report) override;
    void nothingToDelete(qint64 selectedRows) override;
    void deletionStarts(qint64 selectedRows, const QStringList &targets) override;
    void deletionEnded(const BatchResult &result) override;

private:
    void deleteOne(const QString &target, const QString &device) const;
    log::StoreLogRecord record(log::GatewayLogLevel level,
                               log::GatewayLogAction action,
                               log::GatewayLogOutcome outcome,
                               const QString &correlationId,
                               Details details) const;

    const CloudBrowserParts m_parts;
    const LogWords m_words;
    const QString m_study;
    std::optional<QString> m_session; // that the last query was for
    QString m_batch;                  // the correlation id of the deletion under way
    std::optional<QString> m_batchSession;
};

/// Reads pages of a query into rows, on the pool, and shows the rows as they come: each time when there are
/// twice as many, so that sorting them anew costs little.
///
/// \param query  runs the query with the given handler.
template <typename Row, typename Query, typename Show>
std::shared_ptr<const TableRows> readRows(const Query &query, const Show &show, const std::stop_token &stop)
{
    std::vector<Row> rows;
    std::size_t shown = 0;
    query([&](const QList<QVariantMap> &page) {
        for (const QVariantMap &object : page) {
            rows.push_back(Row::of(object));
        }
        if (rows.size() > 2 * shown) {
            shown = rows.size();
            show(std::make_shared<const RowsOf<Row>>(rows));
        }
        return !stop.stop_requested();
    });
    return std::make_shared<const RowsOf<Row>>(std::move(rows));
}

} // namespace gateway::browser
