#include "host/files/property_list.h"
#include "tests/fuzz/fuzz_target.h"

#include <QByteArrayList>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Most inputs get a beginning without which they would be refused at once.
    static const QByteArrayList beginnings{{}, "bplist00", "<?xml version=\"1.0\"?><plist><dict>"};
    const QByteArray list = beginnings[size == 0 ? 0 : data[0] % 3] + bytes_of(data, size).mid(1);
    const property_list_value found = property_list_string(list, QStringLiteral("Live"));
    require(found.error.isEmpty() || found.value.isEmpty());
    require(found.value.size() <= list.size());
    return 0;
}
