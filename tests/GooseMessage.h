#pragma once

#include "DbmsAPI/ConfigTypes.h"

// A message with a value in each field.
inline GooseMessageRecord GooseMessage(const wchar_t* invalidityTime) {
  return {L"IED1LD0/LLN0$GO$gcb1",
          L"IED1LD0/LLN0$ds1",
          L"gcb1",
          2000,
          3,
          -4,
          true,
          false,
          invalidityTime,
          true,
          L"00:11:22:33:44:55",
          L"01:0c:cd:01:00:01",
          4096,
          L"{true,0.5}",
          false,
          true,
          false,
          true,
          101,
          4};
}
