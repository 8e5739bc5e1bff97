#include "shell/account/archive_trial_panel.h"

#include "account/archive_sign_in_view_model.h"
#include "shell/controls/button.h"
#include "shell/controls/state_label.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QCoro/QCoroTask>

#include <QtCore/QMap>
#include <QtWidgets/QLayout>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

namespace {

using cloud_client::TrialStep;

/// What was tried, for people.
QString titleOf(const TrialStep &step)
{
    const QMap<QString, QString> titles{{QStringLiteral("name"), ArchiveTrialPanel::tr("Name")},
                                        {QStringLiteral("connection"), ArchiveTrialPanel::tr("Connection")},
                                        {QStringLiteral("sign-in"), ArchiveTrialPanel::tr("Sign-in")},
                                        {QStringLiteral("query"), ArchiveTrialPanel::tr("Query")},
                                        {QStringLiteral("store"), ArchiveTrialPanel::tr("Store")},
                                        {QStringLiteral("find"), ArchiveTrialPanel::tr("Find")},
                                        {QStringLiteral("read back"), ArchiveTrialPanel::tr("Read back")},
                                        {QStringLiteral("delete"), ArchiveTrialPanel::tr("Delete")}};
    return titles.value(step.step, step.step);
}

QString wordOf(TrialStep::Outcome outcome)
{
    switch (outcome) {
    case TrialStep::Outcome::good:
        return ArchiveTrialPanel::tr("good");
    case TrialStep::Outcome::remark:
        return ArchiveTrialPanel::tr("remark");
    case TrialStep::Outcome::failed:
        return ArchiveTrialPanel::tr("failed");
    }
    return {};
}

Color colorOf(TrialStep::Outcome outcome)
{
    switch (outcome) {
    case TrialStep::Outcome::good:
        return Color::green;
    case TrialStep::Outcome::remark:
        return Color::amber;
    case TrialStep::Outcome::failed:
        return Color::red;
    }
    return Color::muted;
}

} // namespace

ArchiveTrialPanel::ArchiveTrialPanel(const Theme &theme, account::ArchiveSignInViewModel &model)
    : m_theme(theme), m_model(model), m_lines(new QVBoxLayout),
      m_test(new Button(theme, ButtonKind::secondary, tr("Test")))
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
    m_lines->setSpacing(theme.space(Space::gap));
    column->addLayout(m_lines);
    column->addWidget(m_test, 0, Qt::AlignLeft);
    connect(m_test, &QAbstractButton::clicked, this, &ArchiveTrialPanel::test);
    connect(&model, &account::ArchiveSignInViewModel::changed, this, &ArchiveTrialPanel::showSteps);
    showSteps();
}

ArchiveTrialPanel::~ArchiveTrialPanel()
{
    m_stop.request_stop();
}

void ArchiveTrialPanel::test()
{
    QCoro::connect(m_model.test(m_stop.get_token()), this, [](const auto &) {});
}

void ArchiveTrialPanel::showSteps()
{
    m_test->setBusy(m_model.isTesting());
    const qsizetype shown = m_lines->count();
    if (shown == m_model.steps().size() && m_wasTesting == m_model.isTesting()) {
        return;
    }
    m_wasTesting = m_model.isTesting();
    while (QLayoutItem *item = m_lines->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const TrialStep &step : m_model.steps()) {
        auto *line = new QWidget;
        auto *column = new QVBoxLayout(line);
        column->setContentsMargins({});
        column->setSpacing(m_theme.space(Space::hair));
        auto *state = new StateLabel(m_theme);
        state->setState(tr("%1: %2", "a step, and how it went").arg(titleOf(step), wordOf(step.outcome)),
                        colorOf(step.outcome));
        auto *words = new TextLabel(m_theme, step.words, TypeStyle::small, Color::text2);
        words->setWordWrap(true);
        column->addWidget(state);
        column->addWidget(words);
        m_lines->addWidget(line);
    }
}

} // namespace gateway::shell
