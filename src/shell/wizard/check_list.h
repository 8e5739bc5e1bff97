#pragma once

#include "wizard/gateway_setup_issue.h"
#include "wizard/setup_preflight.h"

#include <QtCore/QList>
#include <QtWidgets/QWidget>

#include <optional>

class QVBoxLayout;

namespace gateway::shell {

class Theme;

/// Checks with a mark each, and beside one that failed the repair that is offered for it.
///
/// Owner: its parent. Thread: main.
class CheckList : public QWidget
{
    Q_OBJECT

public:
    explicit CheckList(const Theme &theme, QWidget *parent = nullptr);

    /// Shows these checks; one without a title is told by its detail alone.
    void setChecks(const QList<wizard::GatewaySetupPreflightCheck> &checks);

    /// What a step has to say: its issues, or the checks of these ids where it has none.
    void setStep(const QList<wizard::GatewaySetupIssue> &issues,
                 const QList<wizard::GatewaySetupPreflightCheck> &checks,
                 const QStringList &ids);

Q_SIGNALS:
    /// \param step  where the check says that it can be mended.
    void fixRequested(gateway::wizard::GatewaySetupIssueFixAction action,
                      std::optional<gateway::wizard::GatewaySetupStep> step);

    /// The repair that the keyboard was at isn't offered any more.
    void focusGone();

private:
    QWidget *makeRow(const wizard::GatewaySetupPreflightCheck &check);
    QWidget *makeWords(const wizard::GatewaySetupPreflightCheck &check);

    const Theme &m_theme;
    QVBoxLayout *m_column;
    QList<wizard::GatewaySetupPreflightCheck> m_shown;
};

} // namespace gateway::shell
