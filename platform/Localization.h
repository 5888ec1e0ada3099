// The client's localisation library: texts by module and key. Unknown keys leave the
// buffer empty; returns the number of characters written.
#pragma once

#include <cstdint>

int32_t Localization_Constant_GetString(const char16_t* module, const char16_t* key,
                                        char16_t* buffer, int32_t limit);
