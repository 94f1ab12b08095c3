#include "fuzz/FuzzService.h"
#include "handlers/WAPConnHandler.h"
#include "zelapi/wap.h"

namespace
{

void Request(CFuzzCase& fuzz)
{
    const CBStrOwner firstText = fuzz.Text();
    const CBStrOwner secondText = fuzz.Text();
    WapConnection connection = {fuzz.Word(), fuzz.Byte(), fuzz.Byte(), firstText.get(), secondText.get()};
    WapRequest record = {0, fuzz.Word(), 0, &connection};
    fuzz.Request(&record);
    if (connection.first_text != firstText.get())
        TakeText(connection.first_text);
    if (connection.second_text != secondText.get())
        TakeText(connection.second_text);
}

const CFuzzService g_wap(0x3F, NewHandler<CWAPConnHandler>, {Request});

}  // namespace
