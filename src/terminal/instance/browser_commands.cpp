#include "terminal/instance/browser_commands.h"

#include "browser/browser_words.h"
#include "browser/local_study_series_table_view_model.h"
#include "browser/quorin_cloud_qido_series_table_view_model.h"
#include "browser/quorin_cloud_qido_study_table_view_model.h"
#include "browser/quorin_gateway_local_study_table_view_model.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/main_thread.h"
#include "platform/sentences/in_english.h"

#include <QtCore/QDate>
#include <QtCore/QJsonArray>

#include <stop_token>
#include <utility>

namespace gateway::terminal {

namespace {

using browser::QuorinCloudStudyDateFilterMode;

const QString kTrigger = QStringLiteral("command_line");

/// Before what names no series: so no key can be like it.
const QString kNobody = QStringLiteral("no series ");

/// Cells are told in full; a hundred bytes a cell are more than most have.
constexpr qsizetype kMostRows = 200'000;

browser::QuorinCloudStudyFilters filtersOf(const BrowserCommand &command, const QDate &today)
{
    const auto text = [&](const char *name) { return command.filters.value(QString::fromLatin1(name)); };
    browser::QuorinCloudStudyFilters filters = browser::QuorinCloudStudyFilters::none(today);
    filters.patientNameFilter = text("patient-name");
    filters.patientIDFilter = text("patient-id");
    filters.accessionNumberFilter = text("accession");
    filters.studyDescriptionFilter = text("description");
    filters.referringPhysicianFilter = text("physician");
    filters.institutionNameFilter = text("institution");
    filters.modalityFilter = text("modality");
    filters.usePatientBirthDateFilter = !text("birth-date").isEmpty();
    filters.patientBirthDateFilter = QDate::fromString(text("birth-date"), Qt::ISODate);
    const QString day = text("study-date");
    filters.customStudyDateFilter = QDate::fromString(day, Qt::ISODate);
    filters.studyDateFilterMode = day.isEmpty()                    ? QuorinCloudStudyDateFilterMode::any
                                  : day == QStringLiteral("today") ? QuorinCloudStudyDateFilterMode::today
                                  : day == QStringLiteral("yesterday")
                                      ? QuorinCloudStudyDateFilterMode::yesterday
                                      : QuorinCloudStudyDateFilterMode::custom;
    return filters;
}

} // namespace

BrowserCommands::BrowserCommands(const browser::CloudBrowserParts &cloud,
                                 const browser::LocalBrowserParts &local,
                                 const account::QuorinAuthViewModel &auth)
    : m_cloud(cloud), m_local(local), m_auth(auth), m_scope(cloud.runtime.main, cloud.runtime.pool)
{
    platform::assertMainThread("BrowserCommands");
}

bool BrowserCommands::handle(const ControlRequest &request, const Answer &answer)
{
    if (request.command != requests::kBrowse) {
        return false;
    }
    const BrowserCommand command = browserCommandIn(request);
    if (browser::isCloud(tableKindOf(command)) && !m_auth.state().isSignedIn()) {
        const platform::InEnglish english;
        answer(ControlReply::failure(browser::signInWords(tableKindOf(command))));
    } else if (command.action != BrowserCommand::Action::deletion) {
        m_scope.start(list(command, request.hungUp, answer));
    } else {
        m_scope.start(removeUnlessAtFault(command, request.hungUp, answer));
    }
    return true;
}

std::unique_ptr<browser::BrowserTable> BrowserCommands::tableFor(const BrowserCommand &command) const
{
    switch (tableKindOf(command)) {
    case browser::TableKind::cloudStudies: {
        auto studies = std::make_unique<browser::QuorinCloudQidoStudyTableViewModel>(m_cloud);
        studies->setFilters(filtersOf(command, m_cloud.runtime.clock.now().toLocalTime().date()));
        return studies;
    }
    case browser::TableKind::cloudSeries:
        return std::make_unique<browser::QuorinCloudQidoSeriesTableViewModel>(
            m_cloud, browser::QuorinCloudSeriesStudyContext{.studyInstanceUIDRaw = command.study});
    case browser::TableKind::localStudies:
        return std::make_unique<browser::QuorinGatewayLocalStudyTableViewModel>(m_local);
    case browser::TableKind::localSeries:
        return std::make_unique<browser::LocalStudySeriesTableViewModel>(
            m_local, browser::LocalStudySeriesContext{.studyID = command.study});
    }
    return nullptr;
}

QCoro::Task<void> BrowserCommands::list(BrowserCommand command, std::stop_token hungUp, Answer answer)
{
    const std::shared_ptr<browser::BrowserTable> table = tableFor(command);
    const std::stop_callback whenHungUp(hungUp, [&main = m_cloud.runtime.main, table] {
        main.post(table, [table = table.get()] { table->stopLoading(); });
    });
    table->setSearchText(command.searchText);
    table->setShowsFailuresOnly(command.failuresOnly);
    co_await table->load(kTrigger);
    if (table->lastError()) {
        answer(ControlReply::failure(*table->lastError()));
    } else if (static_cast<qsizetype>(table->shown().size()) > kMostRows) {
        answer(ControlReply::failure(
            QStringLiteral("These are %1 rows; ask for fewer with --search.").arg(table->shown().size())));
    } else {
        answer(ControlReply::success(rowsReport(*table)));
    }
}

/// The targets as the table names them. People and programs name series by their UIDs; the index knows them
/// by keys of its own, which may look like the UID of another one.
QCoro::Task<QStringList> BrowserCommands::namesInTable(BrowserCommand command)
{
    if (tableKindOf(command) != browser::TableKind::localSeries) {
        co_return command.targets;
    }
    const QList<index::LocalSeriesSnapshot> series = co_await platform::onPool(
        m_local.runtime.main, m_local.runtime.pool, [&index = m_local.index, study = command.study] {
            return index.seriesSnapshots(study);
        });
    QStringList names;
    for (const QString &target : command.targets) {
        const qsizetype before = names.size();
        for (const index::LocalSeriesSnapshot &one : series) {
            if ((one.seriesUID.isEmpty() ? one.id : one.seriesUID.value()) == target.trimmed()) {
                names.append(one.id);
            }
        }
        if (names.size() == before && !target.trimmed().isEmpty()) {
            names.append(kNobody + target.trimmed());
        }
    }
    co_return names;
}

QCoro::Task<void>
BrowserCommands::removeUnlessAtFault(BrowserCommand command, std::stop_token hungUp, Answer answer)
{
    BrowserCommand inTable = command;
    inTable.targets = co_await namesInTable(command);
    const std::unique_ptr<browser::BrowserTable> table = tableFor(command);
    const std::optional<index::OutsideCloud> outside = co_await table->imagesOutsideCloud(inTable.targets);
    if (!outside) {
        const platform::InEnglish english;
        answer(ControlReply::failure(browser::unknownOutsideCloudWords()));
        co_return;
    }
    const QString fault = faultInDeletion(command, browser::OutsideCloudCount::of(*outside));
    if (!fault.isEmpty()) {
        answer(ControlReply::failure(fault, ExitCode::usage));
    } else if (hungUp.stop_requested()) {
        answer(ControlReply::failure(QStringLiteral("Nothing was deleted.")));
    } else {
        co_await remove(inTable, *outside, hungUp, answer);
    }
}

QCoro::Task<void> BrowserCommands::remove(BrowserCommand command,
                                          index::OutsideCloud told,
                                          std::stop_token hungUp,
                                          Answer answer)
{
    const std::shared_ptr<browser::BrowserTable> table = tableFor(command);
    const std::stop_callback whenHungUp(hungUp, [&main = m_cloud.runtime.main, table] {
        main.post(table, [table = table.get()] { table->stopDeleting(); });
    });
    const browser::BatchResult result =
        co_await table->deleteTargets(command.targets, command.targets.size(), told);
    const browser::OutsideCloudCount lost = browser::OutsideCloudCount::of(told);
    const platform::InEnglish english;
    answer(ControlReply::success(
        {{QStringLiteral("requested"), result.requested},
         {QStringLiteral("deleted"), result.deleted},
         {QStringLiteral("failed"), result.failed},
         {QStringLiteral("failedTargets"), QJsonArray::fromStringList(result.failedTargets)},
         {kDeletionProblem, browser::deletionSummary(table->kind(), result).value_or(QString())},
         {kOutsideCloud, lost.parents},
         {kImagesOutsideCloud, lost.images}}));
}

} // namespace gateway::terminal
