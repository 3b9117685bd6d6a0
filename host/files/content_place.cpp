#include "host/files/content_place.h"

void read_content(const QByteArray& path, const entry_facts& facts, const content_place& copy_of,
                  const std::function<bool(const quiet_file& file)>& read)
{
    const QByteArray copy = copy_of && facts.kind == entry_kind::file ? copy_of(path, facts) : QByteArray();
    if (!copy.isEmpty()) {
        const quiet_file file = quiet_open(copy);
        if (file.descriptor.is_open() && file.facts.size == facts.size && read(file)) {
            return;
        }
    }
    read(quiet_open(path));
}
