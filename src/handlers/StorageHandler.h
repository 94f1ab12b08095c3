#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's storage areas, resource 0xAA.
class CStorageHandler : public CContentHandler
{
  public:
    CStorageHandler();
};
