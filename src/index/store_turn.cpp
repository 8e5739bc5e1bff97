#include "index/store_turn.h"

#include "platform/sqlite/database.h"

namespace gateway::index {

StoreTurn storeTurn(platform::Database &database)
{
    return {database.integer("SELECT storesBefore FROM Ledger")};
}

void beginStoreTurn(platform::Database &database)
{
    database.exec("UPDATE Ledger SET storesBefore = storesBefore + 1");
}

} // namespace gateway::index
