#include "macos/account_folder_names.h"
#include "tests/fuzz/fuzz_target.h"

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
