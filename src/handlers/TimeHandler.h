#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's clock, resource 0x19. It delivers no indications.
class CTimeHandler : public CContentHandler
{
  public:
    CTimeHandler();
};
