// The three entry points the library exports; nothing else is visible outside it.
#pragma once

#include "vaultkit/vkcom.h"

VKAPI HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** object);
VKAPI HRESULT DllCanUnloadNow(void);
VKAPI HRESULT DllRegisterServer(void);
