#include "host/source/witnesses.h"

#include "host/files/file_tree.h"
#include "host/files/sqlite_companions.h"
#include "host/source/account_stores.h"
#include "host/source/system_version.h"

#include <algorithm>

namespace {

void add_if_there(std::vector<witness>& found, const QByteArray& source, const QByteArray& path)
{
    entry_facts facts = quiet_stat(child_path(source, path));
    if (facts.kind != entry_kind::absent) {
        found.push_back({path, std::move(facts)});
    }
}

} // namespace

std::vector<witness> system_witnesses(const QByteArray& source)
{
    std::vector<witness> found;
    add_if_there(found, source, system_version_path);
    return found;
}

std::vector<witness> store_witnesses(const QByteArray& source, const QByteArray& user)
{
    std::vector<witness> found;
    for (const char* name : account_store_names) {
        const QByteArray path = "Users/" + user + '/' + accounts_directory + '/' + name;
        add_if_there(found, source, path);
        for (const char* companion : sqlite_companions) {
            add_if_there(found, source, path + companion);
        }
    }
    std::sort(found.begin(), found.end(),
              [](const witness& left, const witness& right) { return left.path < right.path; });
    return found;
}
