#include "shell/preferences/settings_pane_container.h"

#include "shell/controls/button.h"
#include "shell/controls/card_page.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

SettingsPaneContainer::SettingsPaneContainer(const Theme &theme,
                                             const QString &title,
                                             const std::function<void()> &openSetupWizard)
    : m_theme(theme), m_subtitle(new TextLabel(theme, {}, TypeStyle::body, Color::text2)),
      m_page(new CardPage(theme))
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addWidget(makeHead(title, openSetupWizard));
    column->addWidget(m_page, 1);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

QWidget *SettingsPaneContainer::makeHead(const QString &title, const std::function<void()> &openSetupWizard)
{
    auto *head = new QWidget;
    auto *column = new QVBoxLayout(head);
    const int page = m_theme.space(Space::page);
    column->setContentsMargins(page, page, page, m_theme.space(Space::gap));
    column->setSpacing(m_theme.space(Space::hair));
    auto *row = new QHBoxLayout;
    row->setSpacing(m_theme.space(Space::gap));
    auto *heading = new TextLabel(m_theme, title, TypeStyle::h1);
    heading->setWordWrap(true);
    row->addWidget(heading, 1);
    auto *wizard =
        new Button(m_theme, ButtonKind::quiet, tr("Setup Wizard…"), QStringLiteral("wand.and.stars"));
    connect(wizard, &QPushButton::clicked, this, openSetupWizard);
    row->addWidget(wizard, 0, Qt::AlignTop);
    column->addLayout(row);
    m_subtitle->setWordWrap(true);
    m_subtitle->hide();
    column->addWidget(m_subtitle);
    return head;
}

void SettingsPaneContainer::setSubtitle(const QString &subtitle)
{
    m_subtitle->setText(subtitle);
    m_subtitle->setVisible(!subtitle.isEmpty());
}

QVBoxLayout &SettingsPaneContainer::foot()
{
    if (m_foot == nullptr) {
        m_foot = new QWidget;
        m_footColumn = new QVBoxLayout(m_foot);
        const int page = m_theme.space(Space::page);
        m_footColumn->setContentsMargins(page, m_theme.space(Space::gap), page, m_theme.space(Space::wide));
        m_footColumn->setSpacing(m_theme.space(Space::gap));
        layout()->addWidget(m_foot);
    }
    return *m_footColumn;
}

void SettingsPaneContainer::setFootVisible(bool visible)
{
    m_foot->setVisible(visible);
    update();
}

void SettingsPaneContainer::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.fillRect(rect(), m_theme.color(Color::canvas));
    if (m_foot != nullptr && m_foot->isVisible()) {
        painter.fillRect(QRect(0, m_foot->y(), width(), 1), m_theme.color(Color::line));
    }
}

} // namespace gateway::shell
