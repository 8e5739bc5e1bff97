#pragma once

#include <QtWidgets/QLayout>

#include <memory>
#include <vector>

namespace gateway::shell {

/// What a screen offers at its head: a lead that takes the room there is, and buttons at the right. Where
/// they don't fit beside each other, the lead gets a line of its own, and the buttons as many as they need.
///
/// Owner: the widget that it arranges. Thread: main.
class WrapRow : public QLayout
{
    Q_OBJECT

public:
    /// \param spacing  between neighbours and lines.
    WrapRow(QWidget *parent, int spacing);
    ~WrapRow() override;

    /// The first widget that is added is the lead.
    void addItem(QLayoutItem *item) override;
    int count() const override { return static_cast<int>(m_items.size()); }
    QLayoutItem *itemAt(int index) const override;
    QLayoutItem *takeAt(int index) override;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    Qt::Orientations expandingDirections() const override { return Qt::Horizontal; }
    void setGeometry(const QRect &rect) override;

private:
    using Line = std::vector<QLayoutItem *>;

    std::vector<Line> linesIn(int width) const;
    int widthOf(const Line &line) const;
    int heightOf(const std::vector<Line> &lines) const;
    void place(const Line &line, const QRect &rect) const;

    std::vector<std::unique_ptr<QLayoutItem>> m_items;
};

} // namespace gateway::shell
