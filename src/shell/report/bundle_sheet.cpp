#include "shell/report/bundle_sheet.h"

#include "shell/controls/button.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QPlainTextEdit>

namespace gateway::shell {

namespace {

constexpr int kWidth = 580;
constexpr int kTextHeight = 420;

} // namespace

BundleSheet::BundleSheet(const Theme &theme, QWidget &window)
    : Sheet(theme, window, tr("Support Bundle")), m_text(new QPlainTextEdit)
{
    setPanelWidth(kWidth);
    m_text->setReadOnly(true);
    m_text->setTabChangesFocus(true);
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_text->setFont(theme.monoFont(TypeStyle::small));
    m_text->setMinimumHeight(kTextHeight);
    m_text->setAccessibleName(tr("Content of the support bundle"));
    body().addWidget(m_text, 1);
    auto *close = new PrimaryButton(theme, tr("Close"));
    body().addWidget(close, 0, Qt::AlignRight);
    connect(close, &QAbstractButton::clicked, this, [this] { closeSheet(); });
}

void BundleSheet::present(const QString &bundle)
{
    m_text->setPlainText(bundle);
    open(m_text);
}

} // namespace gateway::shell
