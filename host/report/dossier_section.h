#pragma once

#include "host/accounts/account_record.h"
#include "host/html/html_writer.h"
#include "host/result/result_paths.h"

#include <optional>

/// What a result's database says of its accounts, or why it says nothing.
struct report_dossier
{
    std::optional<account_dossier> found;
    QString problem; ///< one line; empty when `found` is there
};

/// Reads it; throws nothing.
report_dossier load_dossier(const result_paths& result);

/// Writes one card an account, by user: folded, and opened when the page is printed.
void write_dossier(report_html& html, const report_dossier& dossier);
