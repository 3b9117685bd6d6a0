#pragma once

#include "host/completeness/completeness.h"
#include "host/completeness/mail_stores.h"

/// Compares the files of one store with its index.
store_completeness check_store(const mail_store& store, const completeness_request& request, completeness_sink& sink);
