#pragma once

#include "shell/theme/tokens.h"
#include "wizard/gateway_setup_wizard_view_model.h"

#include <QtWidgets/QScrollArea>

class QVBoxLayout;

namespace gateway::shell {

class Canvas;
class Card;
class Theme;

/// The page of one step: cards below each other, which scroll where the window is low.
///
/// Owner: GatewaySetupWizardView. Thread: main.
class WizardPage : public QScrollArea
{
    Q_OBJECT

public:
    WizardPage(const Theme &theme, wizard::GatewaySetupWizardViewModel &setup, QWidget *parent = nullptr);

    /// Shows what the model says by now.
    virtual void refresh() {}

    /// Where the keyboard is when the page comes; null where nothing is entered.
    virtual QWidget *firstField() { return nullptr; }

Q_SIGNALS:
    /// Return was pressed in a field: the step's own way on.
    void goOnRequested();

    /// What the keyboard was at is gone; it isn't to land on whatever comes next.
    void focusGone();

protected:
    /// Adds a card with this heading at the end.
    ///
    /// \param title  empty for none.
    Card &addCard(const QString &title);

    /// Closes the column behind the last card.
    void endCards();

    /// Words that wrap.
    QWidget *paragraph(const QString &text, Color color = Color::text2);

    /// Words that wrap, beside a symbol.
    QWidget *bullet(const QString &symbol, const QString &text, Color color = Color::blueHi);

    const Theme &theme() const { return m_theme; }
    wizard::GatewaySetupWizardViewModel &setup() { return m_setup; }

private:
    const Theme &m_theme;
    wizard::GatewaySetupWizardViewModel &m_setup;
    Canvas *m_ground;
    QVBoxLayout *m_column;
};

} // namespace gateway::shell
