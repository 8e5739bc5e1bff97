#pragma once

#include "receive/import_panel.h"

#include <QtCore/QPointer>

class QDialog;
class QWidget;

namespace gateway::shell {

class Theme;

/// The open panel of a manual import, over a window of the gateway.
///
/// Owner: app, longer than the manual import service. Thread: main.
class OpenImportPanel final : public receive::ImportPanel
{
public:
    /// \param theme   outlives this.
    /// \param parent  gives the window that the panel belongs to; asked at each opening, may give null.
    OpenImportPanel(const Theme &theme, std::function<QWidget *()> parent);
    ~OpenImportPanel() override;

    OpenImportPanel(const OpenImportPanel &) = delete;
    OpenImportPanel &operator=(const OpenImportPanel &) = delete;

    /// While one is open, a second call raises it.
    void present(const receive::ImportPanelRequest &request,
                 std::function<void(QList<QUrl>)> confirmed) override;

    /// The panel that is open.
    QDialog *panel() const;

private:
    const Theme &m_theme;
    const std::function<QWidget *()> m_parent;
    QPointer<QDialog> m_panel;
    QString m_folder; // shown last
};

} // namespace gateway::shell
