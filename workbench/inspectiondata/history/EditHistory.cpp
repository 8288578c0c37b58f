#include "host/inspection/EditHistory.h"

EditCommand::~EditCommand() = default;
EditHistory::~EditHistory() = default;
