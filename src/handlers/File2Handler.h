#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/file.h"

/// The phone's file service, resource 0x6D.
class CFile2Handler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t NameOfId(CDataSender& sender, FileLookupRecord& record) const;
    std::uint32_t IdOfName(CDataSender& sender, FileLookupRecord& record) const;
};
