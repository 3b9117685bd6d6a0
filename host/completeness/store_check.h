#pragma once

#include "host/completeness/completeness.h"
#include "host/completeness/mail_stores.h"
#include "host/completeness/store_search.h"

/// Compares the files of one store, as its search finds them, with its index.
store_completeness check_store(const mail_store& store, const completeness_request& request,
                               const QHash<QByteArray, QString>& settings, store_search& search,
                               completeness_sink& sink);
