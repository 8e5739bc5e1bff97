#include "shell/dashboard/imports/open_import_panel.h"

#include "platform/concurrency/main_thread.h"
#include "shell/dashboard/imports/import_dialog.h"

#include <QtCore/QDir>

#include <utility>

namespace gateway::shell {

OpenImportPanel::OpenImportPanel(const Theme &theme, std::function<QWidget *()> parent)
    : m_theme(theme), m_parent(std::move(parent)), m_folder(QDir::homePath())
{
    platform::assertMainThread("OpenImportPanel");
}

OpenImportPanel::~OpenImportPanel()
{
    delete m_panel;
}

void OpenImportPanel::present(const receive::ImportPanelRequest &request,
                              std::function<void(QList<QUrl>)> confirmed)
{
    if (m_panel != nullptr) {
        m_panel->raise();
        m_panel->activateWindow();
        return;
    }
    auto *dialog =
        new ImportDialog(m_theme, request, m_folder, ImportDisk::system(), m_parent ? m_parent() : nullptr);
    m_panel = dialog;
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(
        dialog, &QDialog::finished, dialog, [this, dialog, confirmed = std::move(confirmed)](int result) {
            m_panel = nullptr;
            if (!dialog->folder().isEmpty()) {
                m_folder = dialog->folder();
            }
            const QList<QUrl> chosen = dialog->chosen();
            if (result == QDialog::Accepted && !chosen.isEmpty()) {
                confirmed(chosen);
            }
        });
    dialog->open();
}

QDialog *OpenImportPanel::panel() const
{
    return m_panel;
}

} // namespace gateway::shell
