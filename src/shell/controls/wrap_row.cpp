#include "shell/controls/wrap_row.h"

#include <algorithm>

namespace gateway::shell {

namespace {

int tallestOf(const std::vector<QLayoutItem *> &line)
{
    int height = 0;
    for (const QLayoutItem *item : line) {
        height = std::max(height, item->sizeHint().height());
    }
    return height;
}

} // namespace

WrapRow::WrapRow(QWidget *parent, int spacing) : QLayout(parent)
{
    setContentsMargins({});
    setSpacing(spacing);
}

WrapRow::~WrapRow() = default;

void WrapRow::addItem(QLayoutItem *item)
{
    m_items.emplace_back(item);
}

QLayoutItem *WrapRow::itemAt(int index) const
{
    return index < 0 || index >= count() ? nullptr : m_items[static_cast<std::size_t>(index)].get();
}

QLayoutItem *WrapRow::takeAt(int index)
{
    if (index < 0 || index >= count()) {
        return nullptr;
    }
    const auto at = m_items.begin() + index;
    QLayoutItem *item = at->release();
    m_items.erase(at);
    return item;
}

int WrapRow::widthOf(const Line &line) const
{
    int width = spacing() * static_cast<int>(line.size() - 1);
    for (const QLayoutItem *item : line) {
        width += item->sizeHint().width();
    }
    return width;
}

std::vector<WrapRow::Line> WrapRow::linesIn(int width) const
{
    Line all;
    for (const auto &item : m_items) {
        if (!item->isEmpty()) {
            all.push_back(item.get());
        }
    }
    if (all.size() < 2 || widthOf(all) <= width) {
        return all.empty() ? std::vector<Line>() : std::vector<Line>{all};
    }
    std::vector<Line> lines{{all.front()}, {}};
    for (auto item = all.begin() + 1; item != all.end(); ++item) {
        Line longer = lines.back();
        longer.push_back(*item);
        if (!lines.back().empty() && widthOf(longer) > width) {
            lines.push_back({*item});
        } else {
            lines.back() = std::move(longer);
        }
    }
    return lines;
}

int WrapRow::heightOf(const std::vector<Line> &lines) const
{
    int height = spacing() * std::max(0, static_cast<int>(lines.size()) - 1);
    for (const Line &line : lines) {
        height += tallestOf(line);
    }
    return height;
}

int WrapRow::heightForWidth(int width) const
{
    return heightOf(linesIn(width));
}

QSize WrapRow::sizeHint() const
{
    const std::vector<Line> lines = linesIn(QLAYOUTSIZE_MAX);
    return lines.empty() ? QSize() : QSize(widthOf(lines.front()), heightOf(lines));
}

QSize WrapRow::minimumSize() const
{
    QSize least;
    for (const auto &item : m_items) {
        least = least.expandedTo(item->minimumSize());
    }
    return least;
}

/// The lead begins at the left and takes what is left over; the others end at the right.
void WrapRow::place(const Line &line, const QRect &rect) const
{
    int right = rect.right() + 1;
    for (auto item = line.rbegin(); item != line.rend(); ++item) {
        const QSize wanted = (*item)->sizeHint();
        const bool isLead = *item == m_items.front().get();
        const int width = isLead ? right - rect.left() : std::min(wanted.width(), rect.width());
        const int top = rect.top() + (rect.height() - wanted.height()) / 2;
        (*item)->setGeometry({right - width, top, width, wanted.height()});
        right -= width + spacing();
    }
}

void WrapRow::setGeometry(const QRect &rect)
{
    QLayout::setGeometry(rect);
    int top = rect.top();
    for (const Line &line : linesIn(rect.width())) {
        const int height = tallestOf(line);
        place(line, {rect.left(), top, rect.width(), height});
        top += height + spacing();
    }
}

} // namespace gateway::shell
