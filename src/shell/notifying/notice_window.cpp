#include "shell/notifying/notice_window.h"

#include "shell/controls/button.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

#include <utility>

namespace gateway::shell {

namespace {

constexpr int kWidth = 440;

} // namespace

NoticeWindow::NoticeWindow(const Theme &theme, const Notice &notice)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(notice.title);
    setModal(true);
    setFixedWidth(kWidth);

    auto *row = new QHBoxLayout(this);
    const int page = theme.space(Space::page);
    row->setContentsMargins(page, page, page, page);
    row->setSpacing(theme.space(Space::wide));
    row->addWidget(
        new SymbolTile(
            theme, notice.symbol, notice.color, theme.size(Size::icon), SymbolTile::Ground::tinted),
        0,
        Qt::AlignTop);

    auto *column = new QVBoxLayout;
    column->setSpacing(theme.space(Space::tight));
    auto *title = new TextLabel(theme, notice.title, TypeStyle::h2);
    title->setWordWrap(true);
    column->addWidget(title);
    auto *message = new TextLabel(theme, notice.message, TypeStyle::body, Color::text2);
    message->setWordWrap(true);
    message->setTextInteractionFlags(Qt::TextSelectableByMouse);
    column->addWidget(message);
    column->addSpacing(theme.space(Space::tight));
    column->addLayout(makeButtons(theme, notice));
    row->addLayout(column, 1);
    setAccessibleDescription(notice.message);
}

QLayout *NoticeWindow::makeButtons(const Theme &theme, const Notice &notice)
{
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::tight));
    row->addStretch();
    if (!notice.dismiss.isEmpty()) {
        auto *dismiss = new Button(theme, ButtonKind::secondary, notice.dismiss);
        connect(dismiss, &QPushButton::clicked, this, &QDialog::reject);
        row->addWidget(dismiss);
    }
    auto *accept = new PrimaryButton(theme, notice.accept.isEmpty() ? tr("OK") : notice.accept);
    accept->setDefault(true);
    connect(accept, &QPushButton::clicked, this, &QDialog::accept);
    row->addWidget(accept);
    return row;
}

Notices::~Notices()
{
    delete m_shown;
}

void Notices::show(const Notice &notice)
{
    m_waiting.push_back(notice);
    next();
}

void Notices::next()
{
    if (m_shown != nullptr || m_waiting.empty()) {
        return;
    }
    const Notice notice = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_shown = new NoticeWindow(m_theme, notice);
    QObject::connect(m_shown, &QDialog::finished, m_shown, [this, notice](int result) {
        m_shown = nullptr; // it deletes itself
        next();
        if (notice.answered) {
            notice.answered(result == QDialog::Accepted || notice.dismiss.isEmpty());
        }
    });
    m_shown->show();
    m_shown->raise();
    m_shown->activateWindow();
}

} // namespace gateway::shell
