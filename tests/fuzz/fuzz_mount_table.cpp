#include "host/files/file_tree.h"
#include "host/files/mount_table.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

/// As the system writes a path in its table.
QByteArray escaped(QByteArray path)
{
    return path.replace('\\', "\\134").replace(' ', "\\040").replace('\t', "\\011").replace('\n', "\\012");
}

} // namespace

fuzz_plan plan()
{
    const QByteArray between(1, '\0');
    return {256,
            {"/", "\\040", "\\777", "\\", " ", "\n", between, "/mnt", "1 2 8:1 / /mnt rw - ext4 x x\n"},
            {"/mnt" + between + "/mnt/a b" + between + "/mnt/a b/c", "/" + between + "/x\ny" + between + "/x\ny/z",
             "22 1 8:1 / / rw\n23 22 8:2 /sub /mnt/x\\040y rw\n"}};
}

/// Mount points between zero bytes, and last a path.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = bytes_of(data, size);
    const auto any = place_in_mount_table(input, "/mnt/x y/z");
    require(!any || (!any->file_system.contains(' ') && input.contains(any->file_system)));

    QByteArrayList points = input.split('\0');
    for (QByteArray& point : points) {
        point.prepend('/');
    }
    const QByteArray path = points.takeLast();
    QByteArray table;
    qsizetype deepest = -1;
    for (qsizetype i = 0; i < points.size(); ++i) {
        table += "9 1 0:" + QByteArray::number(i) + " /root " + escaped(points[i]) + " rw - x x x\n";
        const bool is_above = is_at_or_below(path, points[i]);
        const bool is_deeper = deepest < 0 || points[i].size() >= points[deepest].size();
        deepest = is_above && is_deeper ? i : deepest;
    }
    const auto place = place_in_mount_table(table, path);
    require(place.has_value() == (deepest >= 0));
    require(!place || (place->file_system == "0:" + QByteArray::number(deepest) && place->path.startsWith("/root")));
    return 0;
}
