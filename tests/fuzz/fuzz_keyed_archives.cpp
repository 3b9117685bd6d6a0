#include "host/accounts/account_properties.h"
#include "host/accounts/keyed_archive.h"
#include "host/files/property_list.h"
#include "tests/fuzz/fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = bytes_of(data, size);
    const archived_value archive = read_keyed_archive(bytes);
    require(archive.error.isEmpty() || !archive.value.isValid());

    QList<std::pair<QString, QString>> others;
    const QVariantMap shown = shown_mail_dictionary(archive.value, others);
    require(!shown.contains(QStringLiteral("mmeAuthToken")));
    for (const char* key : {"Hostname", "PortNumber", "EmailAliases", "EWSExternalURL"}) {
        shown_property(QLatin1String(key), archive.value);
    }
    property_list_string(bytes, QStringLiteral("root"));
    return 0;
}
