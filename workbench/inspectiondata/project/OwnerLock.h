#pragma once

class QLockFile;

namespace inspection {

/// Takes a lock file that says who works here; of a process that no longer lives it is taken over, however long it was
/// held. What was locked, or why not, tells QLockFile::error(). Waits up to a second for one that does not
/// say yet whose it is.
bool takeOwnerLock(QLockFile& lock);

} // namespace inspection
