#include "shell/notifying/notice_window.h"

#include "shell/controls/button.h"
#include "shell/controls/symbol_tile.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>
#include <utility>

namespace gateway::shell {

namespace {

constexpr int kWidth = 440;
constexpr std::size_t kMostTold = 4; // in one window

} // namespace

NoticeWindow::NoticeWindow(const Theme &theme, const Notice &notice)
    : m_theme(theme), m_tellings(new QVBoxLayout)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(notice.title);
    // Others wait behind it: it isn't to be put where nobody sees it.
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                   Qt::WindowCloseButtonHint);
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
    m_tellings->setSpacing(theme.space(Space::tight));
    column->addLayout(m_tellings);
    tell(notice);
    column->addSpacing(theme.space(Space::tight));
    column->addLayout(makeButtons(theme, notice));
    row->addLayout(column, 1);
    setAccessibleDescription(notice.message);
}

void NoticeWindow::tell(const Notice &notice)
{
    if (!m_told.empty()) {
        m_tellings->addSpacing(m_theme.space(Space::wide)); // another matter
    }
    auto *title = new TextLabel(m_theme, notice.title, TypeStyle::h2);
    title->setWordWrap(true);
    m_tellings->addWidget(title);
    auto *message = new TextLabel(m_theme, notice.message, TypeStyle::body, Color::text2);
    message->setWordWrap(true);
    message->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_tellings->addWidget(message);
    m_told.push_back({title, message});
}

bool NoticeWindow::tellsOf(const QString &title) const
{
    return std::ranges::any_of(m_told, [&](const Told &told) { return told.title->text() == title; });
}

bool NoticeWindow::hasRoom() const
{
    return m_told.size() < kMostTold;
}

void NoticeWindow::add(const Notice &notice)
{
    const auto same =
        std::ranges::find_if(m_told, [&](const Told &told) { return told.title->text() == notice.title; });
    if (same != m_told.end()) {
        same->message->setText(notice.message);
    } else {
        tell(notice);
    }
    QStringList messages;
    for (const Told &told : m_told) {
        messages.append(told.message->text());
    }
    setAccessibleDescription(messages.join(u'\n'));
    adjustSize();
}

void NoticeWindow::bringBack()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
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
    if (canTell(notice)) {
        m_shown->add(notice);
    } else {
        keepWaiting(notice);
        next();
    }
    m_shown->bringBack();
}

/// Whether the shown window has a place for it, and none is passed by.
bool Notices::canTell(const Notice &notice) const
{
    return m_shown != nullptr && m_onlyTells && notice.onlyTells() &&
           (m_shown->tellsOf(notice.title) || (m_waiting.empty() && m_shown->hasRoom()));
}

/// One of the same title takes the place of the former.
void Notices::keepWaiting(const Notice &notice)
{
    const auto same = std::ranges::find_if(m_waiting, [&](const Notice &waiting) {
        return waiting.onlyTells() && notice.onlyTells() && waiting.title == notice.title;
    });
    if (same != m_waiting.end()) {
        *same = notice;
    } else {
        m_waiting.push_back(notice);
    }
}

void Notices::next()
{
    if (m_shown != nullptr || m_waiting.empty()) {
        return;
    }
    const Notice notice = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_shown = new NoticeWindow(m_theme, notice);
    m_onlyTells = notice.onlyTells();
    while (m_onlyTells && m_shown->hasRoom() && !m_waiting.empty() && m_waiting.front().onlyTells()) {
        m_shown->add(m_waiting.front());
        m_waiting.pop_front();
    }
    QObject::connect(m_shown, &QDialog::finished, m_shown, [this, notice](int result) {
        m_shown = nullptr; // it deletes itself
        next();
        if (notice.answered) {
            notice.answered(result == QDialog::Accepted || notice.dismiss.isEmpty());
        }
    });
    m_shown->bringBack();
    m_shown->activateWindow();
}

} // namespace gateway::shell
