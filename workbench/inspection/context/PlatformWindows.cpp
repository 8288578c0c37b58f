// What the windows' platform interfaces themselves do.
#include "host/inspection/AVWindow.h"
#include "host/inspection/KVImageWindow.h"
#include "host/inspection/ParaSet.h"
#include "host/inspection/StationWindow.h"

#include <utility>

AVWindow::AVWindow(QWidget* parent) : QWidget(parent) {}
AVWindow::~AVWindow() = default;

void AVWindow::sent_msg_undo(QString text) {
    emit msg_undo(std::move(text));
}

void AVWindow::sent_msg_redo(QString text) {
    emit msg_redo(std::move(text));
}

KVImageWindow::KVImageWindow(QWidget* parent) : QWidget(parent) {}
KVImageWindow::~KVImageWindow() = default;

StationWindow::StationWindow(QWidget* parent) : QWidget(parent) {}
StationWindow::~StationWindow() = default;

ParaSet::ParaSet(QWidget* parent) : BaseDialog(parent) {}
ParaSet::~ParaSet() = default;
