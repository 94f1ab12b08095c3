#pragma once

#include "handlers/base/ContentHandler.h"

/// The phone's supplementary services, resource 0x06. The records of its indications stay with whoever receives them.
class CSupplementaryServicesHandler : public CContentHandler
{
  public:
    CSupplementaryServicesHandler();
    /// Frees nothing: ZEL_E_FAIL for every id.
    std::uint32_t FreeDecodedData(std::uint32_t messageId, void* record) override;
};
