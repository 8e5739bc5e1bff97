#pragma once

#include "shell/controls/transition.h"

#include <QtWidgets/QAbstractButton>

namespace gateway::shell {

class Theme;

/// Where files and folders are dropped; pressed, it asks for them instead.
///
/// Owner: DimseImportCard, which takes the drops. Thread: main.
class DropArea : public QAbstractButton
{
    Q_OBJECT

public:
    enum class State
    {
        rest,
        targeted, ///< something hovers that could be dropped
        started   ///< what was dropped is being imported
    };

    explicit DropArea(const Theme &theme, QWidget *parent = nullptr);

    void setState(State state);
    State state() const { return m_state; }

    /// The symbol that it shows in this state.
    QString symbol() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QString secondLine() const;
    void paintGround(QPainter &painter) const;
    void paintWords(QPainter &painter, int left) const;

    const Theme &m_theme;
    State m_state = State::rest;
    Transition m_light; // 0 at rest, 1 in the other states
    Transition m_hover;
};

} // namespace gateway::shell
