#pragma once

#include "host/mail_database/completeness_reading.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QStringList>

/// Returns the certificate as a table of at most `width` columns, its totals and what they mean below it.
QStringList completeness_table(const completeness_certificate& certificate, qsizetype width);

/// Returns lines of comma-separated values, the titles first, a line a mailbox and the totals last; without `raw` what
/// a spreadsheet would run is guarded.
QByteArrayList completeness_csv(const completeness_certificate& certificate, bool raw);

/// Returns the certificate as one JSON object, indented; what is unknown is null.
QByteArray completeness_json(const completeness_certificate& certificate);
