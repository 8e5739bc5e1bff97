#pragma once

#include <QtWidgets/QTableView>

namespace gateway::shell {

class Theme;

/// A table as it lies in a card: flat, whole rows selected, one line a row, header sticky with sort arrow,
/// columns movable and resizable.
///
/// Owner: its parent. Thread: main.
class TableView : public QTableView
{
    Q_OBJECT

public:
    explicit TableView(const Theme &theme, QWidget *parent = nullptr);
};

} // namespace gateway::shell
