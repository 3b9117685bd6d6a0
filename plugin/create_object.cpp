#include "plugin/create_object.h"

#include "plugin/apple_mail_extractor.h"

apple_mail_extractor* create_object()
{
    return new apple_mail_extractor(nullptr);
}

m_apple_mail_extractor::m_apple_mail_extractor() = default;
