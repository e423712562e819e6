// A reader whose entry point refuses every class.
#include "automation/unknown.h"

CW_LIBRARY_EXPORT HRESULT DllGetClassObject(REFCLSID, REFIID, void**)
{
    return E_ACCESSDENIED;
}
