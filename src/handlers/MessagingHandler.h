#pragma once

#include "handlers/base/ContentHandler.h"

/// Messaging events of the phone, resource 0x66. The service takes no requests.
class CMessagingHandler : public CContentHandler
{
  public:
    CMessagingHandler();
};
