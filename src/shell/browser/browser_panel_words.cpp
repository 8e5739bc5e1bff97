#include "shell/browser/browser_panel_words.h"

#include "browser/browser_words.h"
#include "shell/browser/browser_panel.h"

#include <QtCore/QLocale>

namespace gateway::shell {

using browser::TableKind;

QString searchPrompt(TableKind kind)
{
    switch (kind) {
    case TableKind::cloudStudies:
        return BrowserPanel::tr("Search patient, ID, description, accession, modality, study UID…");
    case TableKind::cloudSeries:
        return BrowserPanel::tr("Search series number, description, modality, series UID…");
    case TableKind::localStudies:
        return BrowserPanel::tr("Search patient name, patient ID, modality, synced state, description, "
                                "accession, study UID...");
    case TableKind::localSeries:
        return BrowserPanel::tr("Search series number, description, modality, synced state, series UID...");
    }
    return {};
}

QString loadingWords(TableKind kind)
{
    switch (kind) {
    case TableKind::cloudStudies:
        return BrowserPanel::tr("Loading Quorin Cloud studies…");
    case TableKind::cloudSeries:
        return BrowserPanel::tr("Loading Quorin Cloud series…");
    case TableKind::localStudies:
        return BrowserPanel::tr("Loading local studies...");
    case TableKind::localSeries:
        return BrowserPanel::tr("Loading local series...");
    }
    return {};
}

QString deletingWords(TableKind kind)
{
    return browser::holdsSeries(kind) ? BrowserPanel::tr("Deleting selected series...")
                                      : BrowserPanel::tr("Deleting selected studies...");
}

QString notLoadedWords(TableKind kind)
{
    switch (kind) {
    case TableKind::cloudStudies:
        return BrowserPanel::tr("No query executed yet. Set filters and click Query.");
    case TableKind::cloudSeries:
        return BrowserPanel::tr("No Quorin Cloud series loaded yet.");
    case TableKind::localStudies:
    case TableKind::localSeries:
        break;
    }
    return loadingWords(kind);
}

QString hintBeforeLoading(TableKind kind)
{
    return kind == TableKind::cloudStudies
               ? BrowserPanel::tr("Set filters and click Query to load Quorin Cloud studies.")
               : QString();
}

QString selectionWords(qsizetype selected, qsizetype hidden)
{
    if (selected == 0) {
        return {};
    }
    const QString words = BrowserPanel::tr("%L1 selected").arg(selected);
    return hidden > 0 ? BrowserPanel::tr("%1, %L2 of them hidden by the search").arg(words).arg(hidden)
                      : words;
}

QString deletionWarning(const browser::BrowserTable &table)
{
    QStringList lines;
    if (table.isAskedAgain()) {
        lines.append(BrowserPanel::tr("Images have come in since you were asked."));
    }
    lines.append(browser::outsideCloudWords(table.kind(), table.toldOutsideCloud()));
    if (const qsizetype hidden = table.hiddenSelected(); hidden > 0) {
        lines.append(BrowserPanel::tr("Hidden by the search: %L1 of the selected rows.").arg(hidden));
    }
    lines.removeAll(QString());
    return lines.join(u'\n');
}

QString refreshTimeText(const QDateTime &time)
{
    return QLocale::c().toString(time.toLocalTime(), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString exportName(TableKind kind)
{
    const QString day = QLocale::c().toString(QDate::currentDate(), QStringLiteral("yyyy-MM-dd"));
    const QString what = browser::holdsSeries(kind) ? QStringLiteral("series") : QStringLiteral("studies");
    const QString where = browser::isCloud(kind) ? QStringLiteral("quorin-cloud") : QStringLiteral("local");
    return QStringLiteral("%1-%2-%3.csv").arg(where, what, day);
}

QString columnsKey(TableKind kind)
{
    switch (kind) {
    case TableKind::cloudStudies:
        return QStringLiteral("QuorinGateway.cloudStudies.columns");
    case TableKind::cloudSeries:
        return QStringLiteral("QuorinGateway.cloudSeries.columns");
    case TableKind::localStudies:
        return QStringLiteral("QuorinGateway.localStudies.columns");
    case TableKind::localSeries:
        break;
    }
    return QStringLiteral("QuorinGateway.localSeries.columns");
}

} // namespace gateway::shell
