#include "browser/browser_words.h"

#include "browser/browser_table.h"
#include "browser/local_study_series_row.h"
#include "browser/quorin_cloud_qido_series_row.h"
#include "browser/quorin_cloud_qido_study_row.h"
#include "browser/quorin_gateway_local_study_row.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QCoreApplication>

namespace gateway::browser {

namespace {

struct BrowserWords
{
    Q_DECLARE_TR_FUNCTIONS(gateway::browser::BrowserWords)
};

QString cloudStudyTitle(int column)
{
    switch (static_cast<QuorinCloudQidoStudyRow::Column>(column)) {
    case QuorinCloudQidoStudyRow::patientNameColumn:
        return BrowserWords::tr("Patient Name");
    case QuorinCloudQidoStudyRow::patientIDColumn:
        return BrowserWords::tr("Patient ID");
    case QuorinCloudQidoStudyRow::descriptionColumn:
        return BrowserWords::tr("Description");
    case QuorinCloudQidoStudyRow::modalityColumn:
        return BrowserWords::tr("Modality");
    case QuorinCloudQidoStudyRow::dateColumn:
        return BrowserWords::tr("Date");
    case QuorinCloudQidoStudyRow::timeColumn:
        return BrowserWords::tr("Time");
    case QuorinCloudQidoStudyRow::accessionColumn:
        return BrowserWords::tr("Accession");
    case QuorinCloudQidoStudyRow::imagesColumn:
        return BrowserWords::tr("Images");
    case QuorinCloudQidoStudyRow::studyUIDColumn:
        return BrowserWords::tr("Study UID");
    case QuorinCloudQidoStudyRow::columnTotal:
        break;
    }
    return {};
}

QString cloudSeriesTitle(int column)
{
    switch (static_cast<QuorinCloudQidoSeriesRow::Column>(column)) {
    case QuorinCloudQidoSeriesRow::numberColumn:
        return BrowserWords::tr("Series #");
    case QuorinCloudQidoSeriesRow::descriptionColumn:
        return BrowserWords::tr("Description");
    case QuorinCloudQidoSeriesRow::modalityColumn:
        return BrowserWords::tr("Modality");
    case QuorinCloudQidoSeriesRow::dateColumn:
        return BrowserWords::tr("Date");
    case QuorinCloudQidoSeriesRow::imagesColumn:
        return BrowserWords::tr("Images");
    case QuorinCloudQidoSeriesRow::seriesUIDColumn:
        return BrowserWords::tr("Series UID");
    case QuorinCloudQidoSeriesRow::columnTotal:
        break;
    }
    return {};
}

QString localStudyTitle(int column)
{
    switch (static_cast<QuorinGatewayLocalStudyRow::Column>(column)) {
    case QuorinGatewayLocalStudyRow::patientNameColumn:
        return BrowserWords::tr("Patient Name");
    case QuorinGatewayLocalStudyRow::patientIDColumn:
        return BrowserWords::tr("Patient ID");
    case QuorinGatewayLocalStudyRow::modalityColumn:
        return BrowserWords::tr("Modality");
    case QuorinGatewayLocalStudyRow::syncStateColumn:
        return BrowserWords::tr("Synced State");
    case QuorinGatewayLocalStudyRow::descriptionColumn:
        return BrowserWords::tr("Description");
    case QuorinGatewayLocalStudyRow::accessionColumn:
        return BrowserWords::tr("Accession");
    case QuorinGatewayLocalStudyRow::dateColumn:
        return BrowserWords::tr("Date Acquired");
    case QuorinGatewayLocalStudyRow::imagesColumn:
        return BrowserWords::tr("Images");
    case QuorinGatewayLocalStudyRow::columnTotal:
        break;
    }
    return {};
}

QString localSeriesTitle(int column)
{
    switch (static_cast<LocalStudySeriesRow::Column>(column)) {
    case LocalStudySeriesRow::numberColumn:
        return BrowserWords::tr("Series #");
    case LocalStudySeriesRow::descriptionColumn:
        return BrowserWords::tr("Description");
    case LocalStudySeriesRow::modalityColumn:
        return BrowserWords::tr("Modality");
    case LocalStudySeriesRow::syncStateColumn:
        return BrowserWords::tr("Synced State");
    case LocalStudySeriesRow::imagesColumn:
        return BrowserWords::tr("Images");
    case LocalStudySeriesRow::seriesUIDColumn:
        return BrowserWords::tr("Series UID");
    case LocalStudySeriesRow::columnTotal:
        break;
    }
    return {};
}

/// "Deleted 2 of 3 selected studies.", in the words of the table.
QString deletedOf(TableKind kind, qint64 deleted, qint64 requested)
{
    const QString words = holdsSeries(kind) ? BrowserWords::tr("Deleted %1 of %2 selected series.")
                                            : BrowserWords::tr("Deleted %1 of %2 selected studies.");
    return words.arg(deleted).arg(requested);
}

QString whereFrom(TableKind kind)
{
    switch (kind) {
    case TableKind::cloudStudies:
        return BrowserWords::tr("This will remove the selected studies from Quorin Cloud. Continue?");
    case TableKind::cloudSeries:
        return BrowserWords::tr("This will remove the selected series from Quorin Cloud. Continue?");
    case TableKind::localStudies:
        return BrowserWords::tr(
            "This will remove the selected studies from local Quorin Gateway storage. Continue?");
    case TableKind::localSeries:
        return BrowserWords::tr(
            "This will remove the selected series from local Quorin Gateway storage. Continue?");
    }
    return {};
}

} // namespace

QString columnTitle(TableKind kind, int column)
{
    switch (kind) {
    case TableKind::cloudStudies:
        return cloudStudyTitle(column);
    case TableKind::cloudSeries:
        return cloudSeriesTitle(column);
    case TableKind::localStudies:
        return localStudyTitle(column);
    case TableKind::localSeries:
        return localSeriesTitle(column);
    }
    return {};
}

QString nothingFoundWords(TableKind kind)
{
    switch (kind) {
    case TableKind::cloudStudies:
        return BrowserWords::tr("No Quorin Cloud studies found for the current filters.");
    case TableKind::cloudSeries:
        return BrowserWords::tr("No Quorin Cloud series found.");
    case TableKind::localStudies:
        return BrowserWords::tr("No local studies found.");
    case TableKind::localSeries:
        return BrowserWords::tr("No local series found.");
    }
    return {};
}

QString signInWords(TableKind kind)
{
    return holdsSeries(kind) ? BrowserWords::tr("Sign in to load Quorin Cloud series.")
                             : BrowserWords::tr("Sign in to load Quorin Cloud studies.");
}

QString failureLine(core::FailureClass failureClass, qint64 files)
{
    return BrowserWords::tr("Files: %L1. %2").arg(files).arg(core::failureSentence(failureClass));
}

QString loadFailureWords(const std::exception_ptr &failure)
{
    const QString fallback = BrowserWords::tr("Quorin Cloud gave no usable answer.");
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception &error) {
        return cloud_client::userFacingMessage(error, fallback);
    }
}

QString nothingToDeleteWords(TableKind kind)
{
    switch (kind) {
    case TableKind::cloudStudies:
        return BrowserWords::tr("Selected rows do not contain valid Study UID values.");
    case TableKind::cloudSeries:
        return BrowserWords::tr("Selected rows do not contain valid Series UID values.");
    case TableKind::localStudies:
        return BrowserWords::tr("No studies selected for deletion.");
    case TableKind::localSeries:
        return BrowserWords::tr("No series selected for deletion.");
    }
    return {};
}

std::optional<QString> deletionSummary(TableKind kind, const BatchResult &result)
{
    if (result.failed < 1 && !result.isStopped) {
        return std::nullopt;
    }
    if (!isCloud(kind) && result.deleted < 1 && result.failed > 0) {
        return holdsSeries(kind) ? BrowserWords::tr("Failed to delete the selected series.")
                                 : BrowserWords::tr("Failed to delete the selected studies.");
    }
    QString summary = deletedOf(kind, result.deleted, result.requested);
    if (result.isStopped) {
        summary = BrowserWords::tr("Stopped.") + u' ' + summary;
    }
    if (result.failed > 0) {
        summary += u' ' + BrowserWords::tr("%1 failed.").arg(result.failed);
    }
    if (!result.lastMessage.isEmpty()) {
        summary += u' ' + BrowserWords::tr("Last error: %1").arg(result.lastMessage);
    }
    return summary;
}

namespace {

/// English has no catalogue: one study has a sentence of its own.
QString selectedOf(bool isSeries, int n)
{
    if (isSeries) {
        return BrowserWords::tr("You selected %n series. Continue to the next confirmation.", nullptr, n);
    }
    return n == 1
               ? BrowserWords::tr("You selected 1 study. Continue to the next confirmation.")
               : BrowserWords::tr("You selected %n studies. Continue to the next confirmation.", nullptr, n);
}

QString lastOf(bool isSeries, int n)
{
    if (isSeries) {
        return BrowserWords::tr("This action is permanent. Delete %n selected series now?", nullptr, n);
    }
    return n == 1 ? BrowserWords::tr("This action is permanent. Delete 1 selected study now?")
                  : BrowserWords::tr("This action is permanent. Delete %n selected studies now?", nullptr, n);
}

} // namespace

DeleteQuestion deleteQuestion(TableKind kind, DeleteConfirmationStep step, qint64 count)
{
    const bool isSeries = holdsSeries(kind);
    const int n = static_cast<int>(count);
    switch (step) {
    case DeleteConfirmationStep::first:
        return {isSeries ? BrowserWords::tr("Delete Selected Series? (1/3)")
                         : BrowserWords::tr("Delete Selected Studies? (1/3)"),
                selectedOf(isSeries, n),
                BrowserWords::tr("Continue")};
    case DeleteConfirmationStep::second:
        return {isSeries ? BrowserWords::tr("Delete Selected Series? (2/3)")
                         : BrowserWords::tr("Delete Selected Studies? (2/3)"),
                whereFrom(kind),
                BrowserWords::tr("Continue")};
    case DeleteConfirmationStep::third:
        return {
            BrowserWords::tr("Final Confirmation (3/3)"), lastOf(isSeries, n), BrowserWords::tr("Delete")};
    }
    return {};
}

QString outsideCloudWords(TableKind kind, const OutsideCloudCount &count)
{
    if (count.images == 0) {
        return {};
    }
    const QString words =
        holdsSeries(kind)
            ? BrowserWords::tr(
                  "Images not in Quorin Cloud: %L1, of %L2 of the selected series. They will be lost.")
            : BrowserWords::tr(
                  "Images not in Quorin Cloud: %L1, of %L2 of the selected studies. They will be lost.");
    return words.arg(count.images).arg(count.parents);
}

QString unknownOutsideCloudWords()
{
    return BrowserWords::tr(
        "The index of this computer can't be read, so nobody can tell what would be lost. "
        "Nothing was deleted.");
}

QString unnotedDeletionWords()
{
    return BrowserWords::tr("The index of this computer can't be written, so its copies might not stay.");
}

QString whatStays(TableKind kind)
{
    return isCloud(kind) ? BrowserWords::tr("Copies on this computer stay.")
                         : BrowserWords::tr("What is in Quorin Cloud stays there.");
}

} // namespace gateway::browser
