#pragma once

#include <QByteArray>
#include <QString>

/// Says what to name as the source instead of `source`, in which no user has mail or which is no directory: the level
/// above or below, or how to get at what an archive or an image holds. Empty when nothing is known to be better.
QString source_hint(const QByteArray& source);
