#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QVBoxLayout>
#include <QtWidgets/QWidget>

#include <optional>

namespace gateway::shell {

class Theme;

/// Rows of the panel that belong together, on a surface of their own.
///
/// Owner: the panel. Thread: main.
class PanelGroup : public QWidget
{
    Q_OBJECT

public:
    /// \param tint  the surface takes a little of this colour; a card's surface without it.
    explicit PanelGroup(const Theme &theme,
                        std::optional<Color> tint = std::nullopt,
                        QWidget *parent = nullptr);

    QVBoxLayout &body() { return *m_body; }

    /// Whether the rows take the room that the panel has left.
    void setRoomy(bool roomy);

    /// Adds a hair across the group.
    void addRule();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    const std::optional<Color> m_tint;
    QVBoxLayout *m_body;
};

} // namespace gateway::shell
