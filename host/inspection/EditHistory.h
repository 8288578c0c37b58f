#pragma once

#include "host/Export.h"

#include <string>

/// One edit of the user that changed stored data, with its exact inverse. GUI thread.
class INSPECTIONDATA_API EditCommand {
public:
    virtual ~EditCommand();
    /// Write the rows back as they were before, or after, the edit, in one transaction. `refresh` asks the
    /// windows to show the change at once; without it they do with the next change. Only after TakeUndo, or
    /// TakeRedo, gave the edit. When the database refuses nothing is changed, the edit is on its old side
    /// again, and the user is told.
    virtual void Undo(bool refresh) = 0;
    virtual void Redo(bool refresh) = 0;
    /// Fills in the edit's description (GBK).
    virtual void GetText(std::string& text) = 0;
};

/// The edits of a project, newest last. GUI thread.
class INSPECTIONDATA_API EditHistory {
public:
    /// Whether TakeUndo and TakeRedo have something to give.
    virtual bool CanUndo() = 0;
    virtual bool CanRedo() = 0;
    /// The newest undoable edit, which moves to the redo side; null when there is none. The history keeps
    /// owning it: it may be gone after the next edit.
    virtual EditCommand* TakeUndo() = 0;
    /// The newest redoable edit, which moves back to the undo side; null when there is none. Owned as above.
    virtual EditCommand* TakeRedo() = 0;
    /// Undoes the `count` newest edits, newest first, all or none of them in one transaction; as many as
    /// there are when there are fewer.
    virtual void UndoSteps(int count) = 0;

protected:
    virtual ~EditHistory();
};
