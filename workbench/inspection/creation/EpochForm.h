#pragma once

#include "workbench/inspectiondata/creation/EpochAddition.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace inspection {

class FileField;

/// What the user says of one flight: files, date, heights. GUI thread.
class EpochForm : public QWidget {
    Q_OBJECT

public:
    explicit EpochForm(QWidget* parent = nullptr);

    /// The flight, with nothing else said of it.
    void setEpoch(const NewEpoch& epoch);
    void setPicture(const QString& file);
    EpochWish wish() const;
    /// What the files say of themselves, where the user says nothing; null while that is not known.
    void showReading(const NextEpoch* next);

signals:
    /// The user says something else now.
    void changed();

private:
    QWidget* buildSurface();
    QWidget* buildClouds();
    QWidget* buildFiles();
    void chooseFolder();
    void announce();

    QFormLayout* m_form;
    FileField* m_surface;
    QLineEdit* m_date;
    FileField* m_picture;
    QComboBox* m_heights;
    QLineEdit* m_cell;
    QCheckBox* m_ground;
    QWidget* m_clouds;
    QRadioButton* m_copies;
    EpochWish m_announced; ///< fields report the end of editing without a change, too
};

} // namespace inspection
