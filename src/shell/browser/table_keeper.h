#pragma once

#include "browser/browser_table.h"
#include "platform/concurrency/main_executor.h"

#include <QtCore/QObject>

#include <functional>
#include <memory>
#include <vector>

namespace gateway::shell {

/// Lets tables whose screen has gone end what they do: closing a window ends no deletion, and waits for no
/// answer.
///
/// Owner: DesktopScreens. Thread: main.
class TableKeeper
{
public:
    /// \param main  outlives this.
    explicit TableKeeper(platform::MainExecutor &main) : m_main(main) {}

    /// Waits for what the tables still do.
    ~TableKeeper();

    TableKeeper(const TableKeeper &) = delete;
    TableKeeper &operator=(const TableKeeper &) = delete;

    /// Keeps the table for as long as it deletes, or waits for an answer, which nobody sees.
    void keep(std::shared_ptr<browser::BrowserTable> table);

    /// The kept table of that type that deletes at present, so that a window that is opened again shows how
    /// far it is and can stop it; else a new one.
    template <typename Table>
    std::shared_ptr<Table> takeBack(const std::function<std::shared_ptr<Table>()> &make)
    {
        for (auto each = m_tables.begin(); each != m_tables.end(); ++each) {
            auto table = std::dynamic_pointer_cast<Table>(*each);
            if (table && table->isDeleting()) {
                table->disconnect();
                m_tables.erase(each);
                return table;
            }
        }
        return make();
    }

    /// How many are kept.
    std::size_t count() const { return m_tables.size(); }

private:
    void dropIdle();

    platform::MainExecutor &m_main;
    std::vector<std::shared_ptr<browser::BrowserTable>> m_tables;
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
};

} // namespace gateway::shell
