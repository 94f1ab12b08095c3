#pragma once

#include "handlers/base/ContentHandler.h"

/// Short messages, resources 0x14 and 0x02. A request goes to the resource that serves it, whichever of the two this
/// handler was made for.
class CSMSHandler : public CContentHandler
{
  public:
    CSMSHandler();
};
