#include "shell/account/terms_sheet.h"

#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "shell/controls/button.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QShowEvent>
#include <QtGui/QTextBlockFormat>
#include <QtGui/QTextCursor>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QTextEdit>

#include <algorithm>
#include <chrono>

namespace gateway::shell {

namespace {

constexpr QSize kLeast(640, 520);
constexpr double kLinePercent = 135;              // long paragraphs want air
constexpr qsizetype kTextAtOnce = 8'000;          // letters laid out in a turn of the event loop: 3 ms
constexpr int kTextHeight = 160;                  // the least, beside an error in the smallest window
constexpr std::chrono::milliseconds kRest{1'000}; // longer than between two keys of who types

using account::GatewayQuorinCloudTermsCoordinator;

bool presses(const QKeyEvent &key)
{
    return key.key() == Qt::Key_Space || key.key() == Qt::Key_Select || key.key() == Qt::Key_Return ||
           key.key() == Qt::Key_Enter;
}

bool isLetter(const QKeyEvent &key)
{
    return !key.text().isEmpty() && key.text().front().isPrint();
}

} // namespace

TermsSheet::TermsSheet(const Theme &theme, GatewayQuorinCloudTermsCoordinator &terms, QWidget *parent)
    : Sheet(theme, *parent, tr("Quorin Cloud Terms & Conditions")), m_theme(theme), m_terms(terms),
      m_reason(new TextLabel(theme, {}, TypeStyle::bodyStrong)), m_text(new QTextEdit),
      m_error(new InlineError(theme)),
      m_hint(new TextLabel(theme,
                           tr("Please scroll to the end of the Terms and Conditions to continue."),
                           TypeStyle::small,
                           Color::muted)),
      m_decline(new Button(theme, ButtonKind::destructive, tr("Decline"))),
      m_accept(new PrimaryButton(theme, tr("Accept")))
{
    setDismissible(false);
    m_rest.setSingleShot(true);
    m_rest.setInterval(kRest);
    setPanelWidth(kLeast.width());
    setPanelMinimumHeight(kLeast.height());
    addParts();
    listen();
    showState();
}

void TermsSheet::addParts()
{
    auto *request =
        new TextLabel(m_theme,
                      tr("Please review and accept the Terms & Conditions before using Quorin Cloud."),
                      TypeStyle::body,
                      Color::text2);
    m_text->setReadOnly(true);
    m_text->setAcceptRichText(false);
    m_text->setUndoRedoEnabled(false);
    m_text->setTabChangesFocus(true);
    m_text->setMinimumHeight(kTextHeight);
    m_text->document()->setDocumentMargin(m_theme.space(Space::tight));
    m_text->setFont(m_theme.font(TypeStyle::body));
    m_text->setAccessibleName(tr("Terms and Conditions"));
    for (TextLabel *label : {request, m_reason, m_hint}) {
        label->setWordWrap(true);
    }
    body().addWidget(request);
    body().addWidget(m_reason);
    body().addWidget(m_text, 1);
    body().addWidget(m_error);
    body().addLayout(makeAnswers());
}

QHBoxLayout *TermsSheet::makeAnswers()
{
    auto *row = new QHBoxLayout;
    row->setSpacing(m_theme.space(Space::gap));
    QSizePolicy keepsPlace = m_hint->sizePolicy();
    keepsPlace.setRetainSizeWhenHidden(true);
    m_hint->setSizePolicy(keepsPlace);
    row->addWidget(m_hint, 1);
    row->addWidget(m_decline);
    row->addWidget(m_accept);
    return row;
}

void TermsSheet::listen()
{
    connect(&m_terms, &GatewayQuorinCloudTermsCoordinator::changed, this, [this] {
        showState();
        if (!m_terms.showTerms()) {
            closeSheet();
        }
    });
    connect(m_text->verticalScrollBar(), &QScrollBar::valueChanged, this, &TermsSheet::measure);
    connect(m_text->verticalScrollBar(), &QScrollBar::rangeChanged, this, &TermsSheet::measure);
    for (QWidget *stop : {static_cast<QWidget *>(m_text),
                          static_cast<QWidget *>(m_decline),
                          static_cast<QWidget *>(m_accept)}) {
        stop->installEventFilter(this);
    }
    connect(m_accept, &QAbstractButton::clicked, this, [this] { answer(Answer::accept); });
    connect(m_decline, &QAbstractButton::clicked, this, [this] { answer(Answer::decline); });
    connect(m_error, &InlineError::actionRequested, this, [this] {
        QCoro::connect(m_terms.refreshStatus(), this, [] {});
    });
}

bool TermsSheet::eventFilter(QObject *watched, QEvent *event)
{
    const bool isAnswer = watched == m_accept || watched == m_decline;
    if (event->type() == QEvent::KeyPress && (isAnswer || watched == m_text)) {
        const auto &key = *static_cast<QKeyEvent *>(event);
        if (isAnswer && presses(key)) {
            return key.isAutoRepeat() || isTypedIn() || Sheet::eventFilter(watched, event);
        }
        m_rest.start();
        if (isAnswer && isLetter(key)) {
            m_text->setFocus(Qt::OtherFocusReason); // where a space answers nothing
            return true;
        }
    }
    return Sheet::eventFilter(watched, event);
}

void TermsSheet::showEvent(QShowEvent *event)
{
    Sheet::showEvent(event);
    if (event->spontaneous()) {
        return;
    }
    m_rule = {};
    m_rest.start(); // the next key may still be meant for what the sheet covers
    m_text->verticalScrollBar()->setValue(0);
    // A text that needs no scrolling sends no signal; by then the sheet has its final size.
    QMetaObject::invokeMethod(this, &TermsSheet::measure, Qt::QueuedConnection);
    showState();
}

void TermsSheet::answer(Answer answer)
{
    const bool isAccept = answer == Answer::accept;
    if (m_terms.isLoading() || (isAccept && !hasScrolledToBottom())) {
        return;
    }
    m_underWay = answer;
    QCoro::connect(isAccept ? m_terms.accept() : m_terms.decline(), this, [this, answer](bool isTaken) {
        answered(answer, isTaken);
    });
}

void TermsSheet::answered(Answer answer, bool isTaken)
{
    m_underWay = Answer::none;
    showAnswers();
    if (isTaken) {
        closeSheet();
        Q_EMIT answer == Answer::accept ? accepted() : declined();
    }
}

void TermsSheet::measure()
{
    if (!isVisible() || !isWhole()) {
        return; // the text has no width yet, or an end that isn't the last
    }
    const double bottom = m_text->document()->size().height() - m_text->verticalScrollBar()->value();
    m_rule.bottomMoved(bottom, m_text->viewport()->height());
    showAnswers();
}

void TermsSheet::beginText()
{
    m_text->clear();
    QTextBlockFormat lines;
    lines.setLineHeight(kLinePercent, QTextBlockFormat::ProportionalHeight);
    QTextCursor(m_text->document()).setBlockFormat(lines);
    m_textAt = 0;
    addText();
}

void TermsSheet::addText()
{
    const qsizetype from = m_textAt;
    const qsizetype lineEnd = m_shownText.indexOf(u'\n', from + kTextAtOnce);
    m_textAt = lineEnd < 0 || lineEnd > from + 2 * kTextAtOnce ? from + kTextAtOnce : lineEnd + 1;
    m_textAt = std::min(m_textAt, m_shownText.size());
    QTextCursor end(m_text->document());
    end.movePosition(QTextCursor::End);
    end.insertText(m_shownText.sliced(from, m_textAt - from));
    if (from == 0) {
        m_text->moveCursor(QTextCursor::Start); // or it would wander to the end with the text
    }
    if (isWhole()) {
        measure();
    } else {
        QMetaObject::invokeMethod(this, &TermsSheet::addText, Qt::QueuedConnection);
    }
}

void TermsSheet::showState()
{
    if (m_shownText != m_terms.termsText()) {
        m_shownText = m_terms.termsText();
        beginText();
    }
    m_reason->setText(m_terms.reasonMessage().value_or(QString()));
    m_reason->setVisible(!m_reason->text().isEmpty());

    const QString error = m_terms.errorMessage().value_or(QString());
    if (error.isEmpty()) {
        m_error->hide();
    } else if (error != m_shownError) {
        m_error->showMessage(error,
                             tr("Your answer hasn't been taken. Images are still received and kept."),
                             tr("Reload")); // they may be other ones by now
    }
    m_shownError = error;
    showAnswers();
}

void TermsSheet::showAnswers()
{
    const bool isLoading = m_terms.isLoading();
    const bool isAccepting = isLoading && m_underWay == Answer::accept;
    const bool isDeclining = isLoading && m_underWay == Answer::decline;
    m_hint->setVisible(!hasScrolledToBottom());
    m_accept->setBusy(isAccepting);
    m_decline->setBusy(isDeclining);
    // The one that was pressed keeps the focus; busy, it takes no further click.
    m_accept->setEnabled(isAccepting || (!isLoading && hasScrolledToBottom()));
    m_decline->setEnabled(isDeclining || !isLoading);
}

} // namespace gateway::shell
