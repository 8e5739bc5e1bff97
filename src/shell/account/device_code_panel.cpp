#include "shell/account/device_code_panel.h"

#include "account/archive_sign_in_view_model.h"
#include "shell/controls/button.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtGui/QAccessible>
#include <QtGui/QClipboard>
#include <QtGui/QGuiApplication>
#include <QtWidgets/QHBoxLayout>

#include <utility>

namespace gateway::shell {

DeviceCodePanel::DeviceCodePanel(const Theme &theme,
                                 account::ArchiveSignInViewModel &model,
                                 std::function<void(const QUrl &)> openLink)
    : m_model(model), m_openLink(std::move(openLink)), m_code(new TextLabel(theme, {}, TypeStyle::h1)),
      m_address(new TextLabel(theme, {}, TypeStyle::body)),
      m_left(new TextLabel(theme, {}, TypeStyle::small, Color::text2))
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(theme.space(Space::tight));
    auto *what = new TextLabel(theme,
                               tr("To let this gateway in, open this page on any device and enter the code:"),
                               TypeStyle::body,
                               Color::text2);
    what->setWordWrap(true);
    column->addWidget(what);
    m_address->setMono();
    m_address->setWordWrap(true);
    column->addWidget(m_address);
    m_code->setTextInteractionFlags(Qt::TextSelectableByMouse);
    column->addWidget(m_code);
    m_left->setWordWrap(true);
    column->addWidget(m_left);
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::tight));
    auto *open =
        new Button(theme, ButtonKind::secondary, tr("Open Page"), QStringLiteral("arrow.up.right.square"));
    auto *copy = new Button(theme, ButtonKind::secondary, tr("Copy Code"));
    auto *cancel = new Button(theme, ButtonKind::quiet, tr("Cancel Sign-In"));
    for (Button *button : {open, copy, cancel}) {
        row->addWidget(button);
    }
    row->addStretch(1);
    column->addLayout(row);
    connect(open, &QAbstractButton::clicked, this, &DeviceCodePanel::openPage);
    connect(copy, &QAbstractButton::clicked, this, [this] {
        QGuiApplication::clipboard()->setText(m_code->text());
    });
    connect(cancel, &QAbstractButton::clicked, this, &DeviceCodePanel::cancelled);
    connect(&model, &account::ArchiveSignInViewModel::changed, this, &DeviceCodePanel::showCode);
    showCode();
}

void DeviceCodePanel::showCode()
{
    const std::optional<cloud_client::DeviceCode> &code = m_model.code();
    const bool isNew = code && m_code->text() != code->userCode;
    setVisible(code.has_value());
    m_code->setText(code ? code->userCode : QString());
    m_address->setText(code ? code->address : QString());
    const auto left = m_model.codeLeft().count();
    m_left->setText(
        tr("The code is good for %1:%2 more.").arg(left / 60).arg(left % 60, 2, 10, QLatin1Char('0')));
    if (isNew) {
        QAccessibleEvent told(m_code, QAccessible::Alert);
        QAccessible::updateAccessibility(&told);
    }
}

void DeviceCodePanel::openPage()
{
    if (const std::optional<cloud_client::DeviceCode> &code = m_model.code()) {
        m_openLink(QUrl(code->wholeAddress.isEmpty() ? code->address : code->wholeAddress));
    }
}

} // namespace gateway::shell
