#pragma once

#include "tests/support/WebServer.h"
#include "workbench/inspectiondata/project/TrustedPlaces.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QRegularExpression>
#include <QString>

/// Lets the project at `folder`, whose epochs lie below "epochs", take them from a server of that folder, and trusts it.
inline void takeEpochsFrom(const WebServer& server, const QString& folder) {
    QFile json(folder + "/project.json");
    ASSERT_TRUE(json.open(QIODevice::ReadOnly));
    QString text = QString::fromUtf8(json.readAll());
    json.close();
    text.replace(QRegularExpression("\"(epochs/[^\"]*)\""), '"' + server.address("\\1") + '"');
    ASSERT_TRUE(json.open(QIODevice::WriteOnly));
    json.write(text.toUtf8());
    json.close();
    ASSERT_TRUE(inspection::trustProject(folder).has_value());
}
