#include "shell/account/archive_trial_panel.h"

#include "account/archive_sign_in_view_model.h"
#include "shell/account/archive_steps.h"
#include "shell/controls/button.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QCoro/QCoroTask>

#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

ArchiveTrialPanel::ArchiveTrialPanel(const Theme &theme, account::ArchiveSignInViewModel &model)
    : m_model(model), m_test(new Button(theme, ButtonKind::secondary, tr("Test")))
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(theme.space(Space::gap));
    auto *what =
        new TextLabel(theme,
                      tr("Looks the archive up, signs in, asks a query, stores a small image of nobody, "
                         "reads it back and deletes it."),
                      TypeStyle::body,
                      Color::text2);
    what->setWordWrap(true);
    column->addWidget(what);
    column->addWidget(new ArchiveSteps(theme, model));
    column->addWidget(m_test, 0, Qt::AlignLeft);
    connect(m_test, &QAbstractButton::clicked, this, &ArchiveTrialPanel::test);
    connect(&model, &account::ArchiveSignInViewModel::changed, this, &ArchiveTrialPanel::showState);
    showState();
}

ArchiveTrialPanel::~ArchiveTrialPanel()
{
    m_stop.request_stop();
}

void ArchiveTrialPanel::test()
{
    QCoro::connect(m_model.test(m_stop.get_token()), this, [](const auto &) {});
}

void ArchiveTrialPanel::showState()
{
    m_test->setBusy(m_model.isTesting());
}

} // namespace gateway::shell
