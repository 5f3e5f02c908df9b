#include <sqlite3.h>

#include "hosts/tavro/store/store.h"
#include "hosts/tavro/store/store_internal.h"

namespace tavro {

namespace si = store_internal;

std::vector<DeletedClass> DeletedClassesSince(Store& store, const std::string& ns,
                                              const std::string& since) {
    // The newest entry of each class decides: a class saved again after its deletion exists,
    // and one deleted again counts from its latest deletion.
    si::Statement query(
        store,
        "SELECT h.name, (SELECT count(*) FROM history o WHERE o.namespace = h.namespace "
        "AND o.name = h.name AND o.id <= h.id), h.replaced_at, h.replaced_by FROM history h "
        "WHERE h.namespace = ? AND h.reason = 'deleted' AND h.replaced_at >= ? "
        "AND h.id = (SELECT max(id) FROM history o WHERE o.namespace = h.namespace "
        "AND o.name = h.name) "
        "AND NOT EXISTS (SELECT 1 FROM classes c WHERE c.namespace = h.namespace "
        "AND c.name = h.name) ORDER BY h.name");
    query.Bind(1, ns).Bind(2, since);
    std::vector<DeletedClass> deleted;
    while (query.Step()) {
        DeletedClass entry;
        entry.name = query.Text(0);
        entry.version = query.Int(1);
        entry.deletedAt = query.Text(2);
        entry.deletedBy = query.Text(3);
        deleted.push_back(std::move(entry));
    }
    return deleted;
}

int PruneHistory(Store& store, const std::string& ns, int keep) {
    if (keep < 1)
        throw StoreError("--keep must be 1 or more: a deleted class lives in its history");
    si::Transaction transaction(store);
    si::Statement prune(
        store,
        "DELETE FROM history WHERE id IN (SELECT id FROM (SELECT id, row_number() OVER "
        "(PARTITION BY namespace COLLATE NOCASE, name COLLATE NOCASE ORDER BY id DESC) AS newer "
        "FROM history WHERE ?1 = '' OR namespace = ?1) WHERE newer > ?2)");
    prune.Bind(1, ns).Bind(2, keep).Run();
    int removed = sqlite3_changes(store.db());
    transaction.Commit();
    return removed;
}

std::string DatabaseFileOf(Store& store) {
    const char* file = sqlite3_db_filename(store.db(), "main");
    return file == nullptr ? "" : file;
}

}  // namespace tavro
