#pragma once

#include <QByteArray>
#include <QString>

/// Returns the time zone that a source's system was set to, such as "Europe/Berlin", from the text of the link that the
/// system keeps for it; empty when there is no such link or it names none. The link is never followed.
QString system_time_zone(const QByteArray& source);
