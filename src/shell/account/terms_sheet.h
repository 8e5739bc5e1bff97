#pragma once

#include "account/gateway_terms_scroll_rule.h"
#include "shell/controls/sheet.h"

#include <QtCore/QString>
#include <QtCore/QTimer>

class QHBoxLayout;
class QTextEdit;

namespace gateway::account {
class GatewayQuorinCloudTermsCoordinator;
}

namespace gateway::shell {

class Button;
class InlineError;
class TextLabel;

/// Shows the terms and takes the answer; "Accept" waits until their end was seen. Nothing but an answer, or
/// the model's word that none is needed any more, takes it away. It comes up by itself, also while
/// somebody types elsewhere: a key answers only on the button that has the focus, which none has at first,
/// and only after a rest from all other keys; a letter there leads back to the text.
///
/// Owner: the window. Thread: main.
class TermsSheet : public Sheet
{
    Q_OBJECT

public:
    /// \param theme, terms  outlive this.
    /// \param parent        the widget that it covers; owns this.
    TermsSheet(const Theme &theme, account::GatewayQuorinCloudTermsCoordinator &terms, QWidget *parent);

    bool hasScrolledToBottom() const { return m_rule.hasScrolledToBottom(); }

    /// Whether a key was pressed so short a time ago that it may be part of what is typed for something else.
    bool isTypedIn() const { return m_rest.isActive(); }

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    /// The service took the acceptance; the sheet is closed by then.
    void accepted();

    /// The service took the refusal; the sheet is closed by then. The session is the host's to end.
    void declined();

protected:
    void showEvent(QShowEvent *event) override;

private:
    enum class Answer
    {
        none,
        accept,
        decline
    };

    void addParts();
    QHBoxLayout *makeAnswers();
    void listen();
    void answer(Answer answer);
    void answered(Answer answer, bool isTaken);
    void measure();
    void beginText();
    void addText();
    bool isWhole() const { return m_textAt == m_shownText.size(); }
    void showState();
    void showAnswers();

    const Theme &m_theme;
    account::GatewayQuorinCloudTermsCoordinator &m_terms;
    account::GatewayTermsScrollRule m_rule;
    Answer m_underWay = Answer::none;
    TextLabel *m_reason;
    QTextEdit *m_text;
    QString m_shownText;
    qsizetype m_textAt = 0; // so much of it is laid out
    InlineError *m_error;
    QString m_shownError;
    TextLabel *m_hint;
    Button *m_decline;
    Button *m_accept;
    QTimer m_rest; // runs out when no key has been pressed for a while
};

} // namespace gateway::shell
