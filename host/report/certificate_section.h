#pragma once

#include "host/html/html_writer.h"
#include "host/mail_database/completeness_reading.h"
#include "host/report/data.h"

#include <optional>

/// What a result's database says of completeness, or why it says nothing.
struct report_certificate
{
    std::optional<completeness_certificate> found;
    QString problem; ///< one line; empty when `found` is there
};

/// Reads it; throws nothing.
report_certificate load_certificate(const result_paths& result);

/// Writes the certificate, a page when printed: what was copied, what is absent, what cannot be known. `directory` is
/// where the report lies.
void write_certificate(report_html& html, const report_data& data, const report_certificate& certificate,
                       const QString& directory);
