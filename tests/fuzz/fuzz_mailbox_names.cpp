#include "host/completeness/mailbox_names.h"
#include "host/source/folder_names.h"
#include "host/text/utf8.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

const QByteArray identifier("0A1B2C3D-0000-4000-8000-00000000000F");

void require_comparable(const QByteArray& name)
{
    require(comparable_name(name) == name);
}

} // namespace

fuzz_plan plan()
{
    return {1024,
            {"imap://", "pop://", "ews://", "local://", "mailbox://", identifier, "%2F", "%25", "%CC%88", "%EF%BB%BF",
             "\xCC\x88", "\xEF\xBB\xBF", "/Library/Mail/", "Mailboxes", ".mbox", ".imapmbox", "@", "%", "IMAP-"},
            {"imap://" + identifier + "/%5BGmail%5D/All%20Mail", "imap://anna%40example.org@imap.example.org/INBOX",
             "mailbox:///Users/x/Library/Mail/Mailboxes/Old.mbox/2.imapmbox", "u\xCC\x88.mbox"}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray text = bytes_of(data, size);
    const mailbox_address address = parse_mailbox_address(text);
    require_comparable(address.user);
    require_comparable(address.host);
    for (const QByteArray& name : address.names) {
        require_comparable(name);
        require(address.scheme.isEmpty() || !name.contains('/'));
    }
    const QByteArray account = account_of(address);
    const QList<QByteArray> folders{"IMAP-a@b", "Mailboxes", account};
    const QByteArray folder = folder_of(address, by_lower_case(folders));
    require(folder.isEmpty() ? account.isEmpty() : folders.contains(folder));
    require(mailbox_path(address.names).count('/') >= address.names.size() - 1);

    require(!is_mailbox_folder(text) || name_of_mailbox_folder(text).size() < text.size());
    require(naming_of(text) != folder_naming::identifier || (text.size() == 36 && !is_version_name(text)));
    require(comparable_name(text).isEmpty() == text.isEmpty());
    return 0;
}
