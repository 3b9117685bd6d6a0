#include "macos/account_folder_names.h"
#include "tests/fuzz/fuzz_target.h"

fuzz_plan plan()
{
    return {128,
            {"IMAP-", "POP-", "@pop3.live.com", "@", "V10", "0A1B2C3D-0000-4000-8000-00000000000F"},
            {"IMAP-anna@imap.example.org", "POP-ben%40x.org@pop.example.org", "POP-carl@live.com@pop3.live.com"}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString name = QString::fromUtf8(bytes_of(data, size));
    const auto candidate = candidate_from_folder_name(name);
    const auto account = account_from_folder_name(name);

    const bool candidate_fits = !candidate || candidate->size() <= name.size();
    const bool account_fits = !account || (name.startsWith(account->type) && account->account.size() <= name.size());
    require(candidate_fits && account_fits);
    return 0;
}
