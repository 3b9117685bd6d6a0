#pragma once

#include "host/result/verification_record.h"

#include <QStringList>

/// Returns the lines that tell a person what a verification looked at and how it ended.
QStringList recheck_lines(const verification_record& record);
