#pragma once

#include "account/gateway_terms_scroll_rule.h"
#include "shell/controls/sheet.h"

#include <QtCore/QString>

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
/// the model's word that none is needed any more, takes it away.
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
};

} // namespace gateway::shell
