#pragma once

#include <QSettings>

/// The user's settings of the workbench, whatever the program that runs is called.
class Settings : public QSettings {
public:
    Settings() : QSettings(QSettings::IniFormat, QSettings::UserScope, "corridor", "workbench") {}
};
