#include "DbmsAPI/frame/BinaryResults.h"

void AskForBinary(SACommand& command, bool withTimes) { command.setBinaryResults(withTimes); }
