#pragma once

#include "host/accounts/account_record.h"

#include <QJsonObject>

/// Returns one account as the object that `accounts --format json` prints; what is unknown is null.
QJsonObject account_to_json(const account_dossier& dossier, const account_record& record);
