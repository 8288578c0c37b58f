#pragma once

#include "workbench/style/Theme.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

/// One look on every machine, and Qt's own file dialogs: those of a desktop cannot be driven by events.
class SteadyLook : public testing::Environment {
public:
    void SetUp() override {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
        QApplication::setPalette(palette());
    }

private:
    /// The colours of the product's windows.
    static QPalette palette() {
        QPalette palette;
        palette.setColor(QPalette::Window, theme::kSurface);
        palette.setColor(QPalette::WindowText, theme::kText);
        palette.setColor(QPalette::Base, theme::kBody);
        palette.setColor(QPalette::AlternateBase, theme::kSurface);
        palette.setColor(QPalette::Text, theme::kText);
        palette.setColor(QPalette::Button, theme::kSurface);
        palette.setColor(QPalette::ButtonText, theme::kText);
        palette.setColor(QPalette::ToolTipBase, theme::kBody);
        palette.setColor(QPalette::ToolTipText, theme::kText);
        palette.setColor(QPalette::Highlight, theme::kAccent);
        palette.setColor(QPalette::HighlightedText, Qt::white);
        palette.setColor(QPalette::Mid, theme::kBorder);
        for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
            palette.setColor(QPalette::Disabled, role, QColor(0x96, 0xa0, 0xae));
        }
        return palette;
    }
};
