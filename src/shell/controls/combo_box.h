#pragma once

#include <QtWidgets/QComboBox>

namespace gateway::shell {

class Theme;

/// One of several, from a list that drops down. The wheel scrolls the page, not the choice.
///
/// Owner: its parent. Thread: main.
class ComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit ComboBox(const Theme &theme, QWidget *parent = nullptr);

protected:
    /// A choice that is longer than its room ends in dots.
    void initStyleOption(QStyleOptionComboBox *option) const override;
    void wheelEvent(QWheelEvent *event) override;
};

} // namespace gateway::shell
