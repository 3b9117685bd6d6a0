#pragma once

#include <QtGlobal>

/// Returns the columns of the terminal that standard output is shown on; `otherwise` when it goes elsewhere.
qsizetype screen_columns(qsizetype otherwise);

/// Returns the columns of the terminal that standard error is shown on; `otherwise` when it goes elsewhere.
qsizetype message_columns(qsizetype otherwise);
