#include "host/completeness/account_witnesses.h"

#include <map>

std::vector<account_witness> account_witnesses(const QList<QByteArray>& folders, const std::vector<mailbox_line>& lines,
                                               const QHash<QByteArray, QString>& settings)
{
    std::map<QByteArray, account_witness> by_account;
    for (const QByteArray& folder : folders) {
        by_account[folder].has_folder = true;
    }
    for (const mailbox_line& line : lines) {
        if (!line.account.isEmpty()) {
            by_account[line.account].has_address |= line.is_in_index;
        }
    }
    std::vector<account_witness> witnesses;
    for (auto& [account, witness] : by_account) {
        witness.account = account;
        witness.setting = settings.value(account.toUpper());
        witnesses.push_back(witness);
    }
    return witnesses;
}
