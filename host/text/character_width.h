#pragma once

#include <QtGlobal>

/// Returns the columns that a character takes on a terminal, whatever the locale: none for a mark on the letter before
/// it, two for East Asian wide characters and emoji, else one.
qsizetype character_width(char32_t character);

/// True for a character that is shown on the one before it.
bool is_combining(char32_t character);
