#include "shell/browser/study_actions.h"

#include "log/writing/redaction.h"
#include "shell/browser/browser_panel.h"
#include "shell/theme/theme.h"

#include <QtCore/QFileInfo>
#include <QtWidgets/QMenu>

namespace gateway::shell {

namespace {

/// More images at a time make a list that nobody reads, and the log takes a moment for each.
constexpr int kMostFollowed = 200;

const QString kWarning = QStringLiteral("exclamationmark.triangle.fill");

} // namespace

StudyActions::StudyActions(const BrowserParts &parts,
                           const LocalBrowserDoor &door,
                           browser::QuorinGatewayLocalStudyTableViewModel &table,
                           BrowserPanel &panel)
    : m_parts(parts), m_door(door), m_table(table), m_panel(panel), m_scope(parts.main, parts.pool)
{
}

StudyActions::~StudyActions()
{
    m_scope.close();
}

void StudyActions::addTo(QMenu *menu, const QString &study)
{
    const auto add = [this, menu](const QString &symbol, const QString &words) {
        return menu->addAction(m_parts.theme.icon(symbol), words);
    };
    QAction *send = add(QStringLiteral("paperplane.fill"), tr("Send Now"));
    send->setEnabled(!lacksNothing(study));
    connect(send, &QAction::triggered, this, [this, study] { sendNow(study); });
    QAction *folder = add(QStringLiteral("folder.fill"), tr("Show in Folder"));
    connect(folder, &QAction::triggered, this, [this, study] { m_scope.start(showInFolder(study)); });
    QAction *follow = add(QStringLiteral("list.bullet.rectangle"), tr("Follow in the Log"));
    connect(follow, &QAction::triggered, this, [this, study] { m_scope.start(followInLog(study)); });
}

/// All of the study is in the cloud.
bool StudyActions::lacksNothing(const QString &study) const
{
    const std::optional<quint32> position = m_table.rows()->position(study);
    return position && m_table.rows()->isInCloud(*position);
}

void StudyActions::sendNow(const QString &study)
{
    m_door.sendNow(study);
    m_panel.tell(QStringLiteral("paperplane.fill"),
                 tr("What this study has not sent yet is tried now, as soon as it is its turn."),
                 true);
}

QCoro::Task<void> StudyActions::showInFolder(QString study)
{
    const auto operation = m_scope.enter();
    const QList<QUrl> files = co_await m_table.filesOf(study, 1);
    if (m_scope.stopToken().stop_requested()) {
        co_return;
    }
    if (files.isEmpty()) {
        m_panel.tell(kWarning, tr("This study has no files here."), false);
        co_return;
    }
    const QString folder = QFileInfo(files.first().toLocalFile()).path();
    if (!m_door.openFolder(folder)) {
        m_panel.tell(kWarning, tr("The folder can't be opened: %1").arg(folder), false);
    }
}

QCoro::Task<void> StudyActions::followInLog(QString study)
{
    const auto operation = m_scope.enter();
    const QList<QUrl> files = co_await m_table.filesOf(study, kMostFollowed + 1);
    if (m_scope.stopToken().stop_requested()) {
        co_return;
    }
    if (files.isEmpty()) {
        m_panel.tell(kWarning, tr("This study has no files here."), false);
        co_return;
    }
    QStringList hashes;
    for (const QUrl &file : files.first(std::min<qsizetype>(files.size(), kMostFollowed))) {
        hashes.append(log::hashedFileURL(file).value_or(QString()));
    }
    if (files.size() > kMostFollowed) {
        m_panel.tell(QStringLiteral("list.bullet.rectangle"),
                     tr("The log shows %L1 of its images, those that failed first.").arg(kMostFollowed),
                     true);
    }
    m_door.followInLog(hashes);
}

} // namespace gateway::shell
