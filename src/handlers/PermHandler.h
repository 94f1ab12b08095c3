#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's permissions, resource 0x23. It has no indications.
class CPermHandler : public CContentHandler
{
  public:
    CPermHandler();
};
