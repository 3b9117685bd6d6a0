#include "host/files/property_list.h"
#include "tests/fuzz/fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = bytes_of(data, size);
    for (const QByteArray& list : {input, "bplist00" + input, "<?xml version=\"1.0\"?><plist><dict>" + input}) {
        const property_list_value found = property_list_string(list, QStringLiteral("Live"));
        require(found.error.isEmpty() || found.value.isEmpty());
        require(found.value.size() <= list.size());
    }
    return 0;
}
