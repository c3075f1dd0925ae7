// The one definition of the identifiers that the generated header declares.
#include <initguid.h>
// After initguid.h.
#include "tdefault_h.h"
