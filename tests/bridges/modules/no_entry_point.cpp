// A library that is complete and loads, and is no reader.
#include "automation/types.h"

CW_LIBRARY_EXPORT int SomethingElse()
{
    return 1;
}
