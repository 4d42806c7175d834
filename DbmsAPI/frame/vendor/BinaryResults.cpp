#include "DbmsAPI/frame/BinaryResults.h"

// The vendor's documented interface has no choice of the format.
void AskForBinary(SACommand&, bool) {}
