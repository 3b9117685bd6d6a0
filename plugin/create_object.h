#pragma once

#include <QtGlobal>

class apple_mail_extractor;

/// Makes a plug-in object without a parent widget; the caller owns it and deletes it through its virtual destructor.
extern "C" Q_DECL_EXPORT apple_mail_extractor* create_object();

/// An empty class that is part of the library's surface and has no other use.
class Q_DECL_EXPORT m_apple_mail_extractor
{
public:
    m_apple_mail_extractor();
};
