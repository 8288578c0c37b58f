#pragma once

#include "host/style/BaseDialog.h"

/// Asks what becomes of rasters that were dropped while a project is open. GUI thread.
class DropQuestion : public BaseDialog {
    Q_OBJECT

public:
    enum class Answer { Cancel, AddEpoch, NewProject };

    /// `files` is how many they are, `project` what the open one is called.
    DropQuestion(int files, const QString& project, QWidget* parent);

    /// Waits for the user.
    Answer ask();

private:
    Answer m_answer = Answer::Cancel;
};
