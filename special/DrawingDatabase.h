#pragma once

/// True when the project's database is connected and its pipeline table answers with at least one node. The
/// drawing tools ask before they start, so that nobody digitises what cannot be stored. A database error is
/// printed.
bool isDrawingDatabaseReady();
