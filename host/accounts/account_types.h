#pragma once

#include <QString>

/// What the program knows of an account type.
struct account_type
{
    const char* identifier; ///< behind "com.apple.account."
    const char* words;
    bool is_mail;               ///< its accounts are always recorded
    bool is_provider;           ///< stands for a service that other accounts belong to
    bool takes_mail_dictionary; ///< its server may stand in its parent's dictionary of the Mail data class
};

/// Returns what is known of a raw type identifier; nullptr for an unknown one.
const account_type* find_account_type(const QString& identifier);

/// Returns a type in plain words; the identifier itself for an unknown one.
QString account_type_words(const QString& identifier);
