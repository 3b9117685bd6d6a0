#pragma once

#include <QString>

/// True when a path, which need not exist, is a directory or lies below it, all links resolved.
bool lies_inside(const QString& path, const QString& directory);

/// Returns why a directory could not be created, found by looking at what is in its way.
QString reason_for_no_directory(const QString& path);
