#include "shell/browser/table_keeper.h"

#include <utility>

namespace gateway::shell {

TableKeeper::~TableKeeper()
{
    for (const auto &table : m_tables) {
        table->disconnect(); // what they tell while they end comes too late
    }
}

void TableKeeper::keep(std::shared_ptr<browser::BrowserTable> table)
{
    table->stopLoading();
    if (!table->isBusy()) {
        return;
    }
    // Dropped in a turn of its own: the table is in the middle of telling.
    QObject::connect(table.get(), &browser::BrowserTable::changed, table.get(), [this] {
        m_main.post(m_life, [this] { dropIdle(); });
    });
    m_tables.push_back(std::move(table));
}

void TableKeeper::dropIdle()
{
    std::erase_if(m_tables, [](const auto &table) { return !table->isBusy(); });
}

} // namespace gateway::shell
