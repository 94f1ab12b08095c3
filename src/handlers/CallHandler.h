#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's call service, resource 0x01.
class CCallHandler : public CContentHandler
{
  public:
    CCallHandler();
};
