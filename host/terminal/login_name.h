#pragma once

#include <QString>

/// Returns the name behind the process's user number, the number where there is none: the environment can say anything.
QString login_name();
