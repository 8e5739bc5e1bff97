#pragma once

#include "shell/controls/accessible_painted.h"
#include "shell/theme/tokens.h"

#include <QtWidgets/QWidget>

#include <optional>

namespace gateway::shell {

class Button;
class Paragraph;
class SymbolTile;
class TextLabel;
class Theme;

/// What matters about a card right now, at its foot: a symbol, a few words, a sentence, and a step where
/// there is one to take.
///
/// Owner: its card. Thread: main.
class CardNotice : public QWidget, public AccessiblePainted
{
    Q_OBJECT

public:
    struct Words
    {
        QString symbol;
        Color color = Color::text2;
        QString title;
        QString sentence;
        QString action;                   ///< empty: nothing is to be done
        std::optional<double> share = {}; ///< of what is done, from 0 to 1

        bool operator==(const Words &) const = default;
    };

    explicit CardNotice(const Theme &theme, QWidget *parent = nullptr);

    void setWords(const Words &words);
    const Words &words() const { return m_words; }

    Button &actionButton() { return *m_action; }

    QAccessible::Role accessibleRole() const override { return QAccessible::StatusBar; }
    QString accessibleWords() const override;

Q_SIGNALS:
    void actionRequested();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    Words m_words;
    SymbolTile *m_symbol;
    TextLabel *m_title;
    Paragraph *m_sentence;
    Button *m_action;
};

} // namespace gateway::shell
