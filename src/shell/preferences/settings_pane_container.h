#pragma once

#include <QtWidgets/QWidget>

#include <functional>

class QVBoxLayout;

namespace gateway::shell {

class CardPage;
class TextLabel;
class Theme;

/// What all panes share: title, subtitle, the way to the wizard, cards that scroll, and a foot where a pane
/// has one.
///
/// Owner: QuorinGatewaySettingsView. Thread: main.
class SettingsPaneContainer : public QWidget
{
    Q_OBJECT

public:
    SettingsPaneContainer(const Theme &theme,
                          const QString &title,
                          const std::function<void()> &openSetupWizard);

    /// Reads anew what nobody tells of.
    virtual void follow() {}

    /// Reads all anew that isn't being edited.
    virtual void refresh() { follow(); }

protected:
    const Theme &theme() const { return m_theme; }
    CardPage &page() { return *m_page; }

    /// \param subtitle  empty for none.
    void setSubtitle(const QString &subtitle);

    /// The column below the cards, behind a line; there is none before it is asked for.
    QVBoxLayout &foot();

    void setFootVisible(bool visible);

    void paintEvent(QPaintEvent *event) override;

private:
    QWidget *makeHead(const QString &title, const std::function<void()> &openSetupWizard);

    const Theme &m_theme;
    TextLabel *m_subtitle;
    CardPage *m_page;
    QWidget *m_foot = nullptr;
    QVBoxLayout *m_footColumn = nullptr;
};

} // namespace gateway::shell
