#include "shell/wizard/check_list.h"

#include "shell/controls/button.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"
#include "shell/wizard/wizard_words.h"

#include <QtWidgets/QApplication>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

using wizard::GatewaySetupIssue;
using wizard::GatewaySetupPreflightCheck;
using Status = wizard::GatewaySetupPreflightCheckStatus;

namespace {

GatewaySetupPreflightCheck checkOf(const GatewaySetupIssue &issue)
{
    const bool isBeingChecked = !issue.isBlocking() && !issue.fixAction;
    const Status harmless = isBeingChecked ? Status::checking : Status::warning;
    return {issue.id,
            {},
            issue.message,
            issue.isBlocking() ? Status::failed : harmless,
            issue.step,
            issue.fixAction};
}

} // namespace

CheckList::CheckList(const Theme &theme, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_column(new QVBoxLayout(this))
{
    m_column->setContentsMargins({});
    m_column->setSpacing(theme.space(Space::gap));
}

void CheckList::setStep(const QList<GatewaySetupIssue> &issues,
                        const QList<GatewaySetupPreflightCheck> &checks,
                        const QStringList &ids)
{
    QList<GatewaySetupPreflightCheck> shown;
    for (const GatewaySetupIssue &issue : issues) {
        shown.append(checkOf(issue));
    }
    for (const GatewaySetupPreflightCheck &check : checks) {
        if (issues.isEmpty() && ids.contains(check.id)) {
            shown.append(check);
            shown.last().title.clear();
        }
    }
    setChecks(shown);
}

void CheckList::setChecks(const QList<GatewaySetupPreflightCheck> &checks)
{
    if (checks == m_shown) {
        return; // who is about to press a button keeps it
    }
    m_shown = checks;
    const bool hadFocus = isAncestorOf(QApplication::focusWidget());
    while (QLayoutItem *item = m_column->takeAt(0)) {
        item->widget()->hide();
        item->widget()->deleteLater();
        delete item;
    }
    for (const GatewaySetupPreflightCheck &check : checks) {
        m_column->addWidget(makeRow(check));
    }
    if (hadFocus) {
        Q_EMIT focusGone();
    }
}

QWidget *CheckList::makeRow(const GatewaySetupPreflightCheck &check)
{
    auto *row = new QWidget(this);
    auto *line = new QHBoxLayout(row);
    line->setContentsMargins({});
    line->setSpacing(m_theme.space(Space::gap));
    line->addWidget(new SymbolTile(m_theme,
                                   statusSymbol(check.status),
                                   statusColor(check.status),
                                   m_theme.size(Size::icon),
                                   SymbolTile::Ground::none),
                    0,
                    check.title.isEmpty() ? Qt::AlignVCenter : Qt::AlignTop);
    line->addWidget(makeWords(check), 1);
    if (check.fixAction) {
        auto *fix = new Button(m_theme, ButtonKind::secondary, fixTitle(*check.fixAction));
        fix->setCompact();
        line->addWidget(fix, 0, Qt::AlignVCenter);
        connect(fix, &QPushButton::clicked, this, [this, check] {
            Q_EMIT fixRequested(*check.fixAction, check.step);
        });
    }
    return row;
}

QWidget *CheckList::makeWords(const GatewaySetupPreflightCheck &check)
{
    auto *words = new QWidget;
    auto *column = new QVBoxLayout(words);
    column->setContentsMargins({});
    column->setSpacing(2);
    if (!check.title.isEmpty()) {
        auto *head = new QHBoxLayout;
        head->setSpacing(m_theme.space(Space::tight));
        auto *title = new TextLabel(m_theme, check.title, TypeStyle::bodyStrong);
        title->setWordWrap(true);
        head->addWidget(title, 1);
        head->addWidget(
            new TextLabel(m_theme, statusWord(check.status), TypeStyle::small, statusColor(check.status)));
        column->addLayout(head);
    }
    auto *detail = new TextLabel(
        m_theme, check.detail, check.title.isEmpty() ? TypeStyle::body : TypeStyle::small, Color::text2);
    detail->setWordWrap(true);
    detail->setAccessibleDescription(statusWord(check.status));
    column->addWidget(detail);
    return words;
}

} // namespace gateway::shell
