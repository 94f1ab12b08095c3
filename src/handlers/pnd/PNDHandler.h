#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's entry stores, resource 3.
class CPNDHandler : public CContentHandler
{
  public:
    CPNDHandler();
};
