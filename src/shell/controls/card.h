#pragma once

#include <QtWidgets/QVBoxLayout>
#include <QtWidgets/QWidget>

namespace gateway::shell {

class Theme;

/// A raised surface that holds one subject. The Canvas that it lies on paints its shadow.
///
/// Owner: its parent. Thread: main.
class Card : public QWidget
{
    Q_OBJECT

public:
    explicit Card(const Theme &theme, QWidget *parent = nullptr);

    /// The column that the card's parts are added to.
    QVBoxLayout &body() { return *m_body; }

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    QVBoxLayout *m_body;
};

} // namespace gateway::shell
