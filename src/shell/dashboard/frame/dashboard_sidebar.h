#pragma once

#include "shell/controls/transition.h"
#include "shell/dashboard/frame/screen.h"

#include <QtWidgets/QButtonGroup>
#include <QtWidgets/QPushButton>

namespace gateway::shell {

class TextLabel;
class Theme;

/// A screen in the sidebar; one of them is the selected one.
///
/// Owner: its parent. Thread: main.
class SidebarEntry : public QPushButton
{
    Q_OBJECT

public:
    SidebarEntry(const Theme &theme, const QString &title, const QString &symbol, QWidget *parent = nullptr);

    /// Without words: the symbol alone, and the words as a tool tip.
    void setNarrow(bool narrow);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    const QString m_symbol;
    bool m_isNarrow = false;
    Transition m_hover;
};

/// The rail at the left with the way to each screen.
///
/// Owner: DashboardView. Thread: main.
class DashboardSidebar : public QWidget
{
    Q_OBJECT

public:
    explicit DashboardSidebar(const Theme &theme, QWidget *parent = nullptr);

    void setSelected(Screen screen);
    void setNarrow(bool narrow);
    bool isNarrow() const { return m_isNarrow; }

    SidebarEntry &entry(Screen screen) const;

    /// Adds an entry at the lower end that leads to no screen.
    SidebarEntry &addCommand(const QString &title, const QString &symbol);

Q_SIGNALS:
    /// The operator chose a screen, be it the present one.
    void chosen(gateway::shell::Screen screen);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void addEntry(Screen screen, const QString &title, const QString &symbol);

    const Theme &m_theme;
    QButtonGroup m_entries;
    TextLabel *m_name;
    SidebarEntry *m_action = nullptr;
    bool m_isNarrow = false;
};

} // namespace gateway::shell
