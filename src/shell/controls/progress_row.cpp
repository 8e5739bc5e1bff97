#include "shell/controls/progress_row.h"

#include "shell/controls/button.h"
#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QGridLayout>

#include <algorithm>

namespace gateway::shell {

namespace {

constexpr int kSteps = 1000; // the bar's own scale: counts of bytes are beyond what it can hold

} // namespace

ProgressRow::ProgressRow(const Theme &theme, const QString &title, const QString &stopTitle, QWidget *parent)
    : QWidget(parent), m_title(new TextLabel(theme, title, TypeStyle::bodyStrong)),
      m_numbers(new FixedDigitLabel(theme, {}, TypeStyle::small, Color::text2)), m_bar(new QProgressBar),
      m_stop(new Button(theme, ButtonKind::secondary, stopTitle))
{
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(theme.space(Space::wide));
    grid->setVerticalSpacing(theme.space(Space::tight));
    grid->addWidget(m_title, 0, 0);
    grid->addWidget(m_numbers, 0, 1, Qt::AlignRight);
    grid->addWidget(m_bar, 1, 0, 1, 2);
    grid->addWidget(m_stop, 0, 2, 2, 1, Qt::AlignVCenter);
    grid->setColumnStretch(0, 1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_bar->setTextVisible(false);
    m_bar->setRange(0, kSteps);
    m_bar->setAccessibleName(title);
    connect(m_stop, &QAbstractButton::clicked, this, &ProgressRow::stopRequested);
}

void ProgressRow::setProgress(qint64 done, qint64 total, const QString &numbers)
{
    const double share = total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 0;
    m_bar->setValue(qRound(std::clamp(share, 0.0, 1.0) * kSteps));
    m_numbers->setText(numbers);
    m_bar->setAccessibleDescription(numbers);
}

void ProgressRow::setStopping()
{
    m_stop->setBusy(true);
}

bool ProgressRow::isStopping() const
{
    return m_stop->isBusy();
}

void ProgressRow::reset()
{
    m_stop->setBusy(false);
}

} // namespace gateway::shell
