#include "shell/account/archive_steps.h"

#include "account/archive_sign_in_view_model.h"
#include "shell/controls/state_label.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtCore/QMap>
#include <QtWidgets/QLayout>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

namespace {

using cloud_client::TrialStep;

/// What was tried, for people.
QString titleOf(const TrialStep &step)
{
    const QMap<QString, QString> titles{{QStringLiteral("name"), ArchiveSteps::tr("Name")},
                                        {QStringLiteral("connection"), ArchiveSteps::tr("Connection")},
                                        {QStringLiteral("sign-in"), ArchiveSteps::tr("Sign-in")},
                                        {QStringLiteral("query"), ArchiveSteps::tr("Query")},
                                        {QStringLiteral("store"), ArchiveSteps::tr("Store")},
                                        {QStringLiteral("find"), ArchiveSteps::tr("Find")},
                                        {QStringLiteral("read back"), ArchiveSteps::tr("Read back")},
                                        {QStringLiteral("delete"), ArchiveSteps::tr("Delete")}};
    return titles.value(step.step, step.step);
}

QString wordOf(TrialStep::Outcome outcome)
{
    switch (outcome) {
    case TrialStep::Outcome::good:
        return ArchiveSteps::tr("good");
    case TrialStep::Outcome::remark:
        return ArchiveSteps::tr("remark");
    case TrialStep::Outcome::failed:
        return ArchiveSteps::tr("failed");
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

ArchiveSteps::ArchiveSteps(const Theme &theme, account::ArchiveSignInViewModel &model, Shown shown)
    : m_theme(theme), m_model(model), m_shown(shown), m_lines(new QVBoxLayout(this))
{
    m_lines->setContentsMargins({});
    m_lines->setSpacing(theme.space(Space::gap));
    connect(&model, &account::ArchiveSignInViewModel::changed, this, &ArchiveSteps::showSteps);
    showSteps();
}

bool ArchiveSteps::isShown(const TrialStep &step) const
{
    return m_shown == Shown::all || step.outcome != TrialStep::Outcome::good ||
           step.step == QStringLiteral("connection") || step.step == QStringLiteral("read back");
}

void ArchiveSteps::showSteps()
{
    if (m_count == m_model.steps().size() && m_wasTesting == m_model.isTesting()) {
        return;
    }
    m_count = m_model.steps().size();
    m_wasTesting = m_model.isTesting();
    while (QLayoutItem *item = m_lines->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const TrialStep &step : m_model.steps()) {
        if (!isShown(step)) {
            continue;
        }
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
