#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's provisioned setting sets, resource 0x22.
class CProvisioningHandler : public CContentHandler
{
  public:
    CProvisioningHandler();
};
