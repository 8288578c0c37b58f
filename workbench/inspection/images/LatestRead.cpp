#include "workbench/inspection/images/LatestRead.h"

#include <QMetaObject>

#include <utility>

namespace inspection {

LatestRead::LatestRead(QObject* parent) : QObject(parent) {
    m_thread.setMaxThreadCount(1);
}

LatestRead::~LatestRead() {
    m_thread.waitForDone();
}

void LatestRead::ask(const Read& read) {
    if (m_running) {
        m_next = read;
    } else {
        start(read);
    }
}

void LatestRead::drop() {
    ++m_generation;
    m_next = nullptr;
}

void LatestRead::start(const Read& read) {
    m_running = true;
    m_thread.start([this, read, generation = m_generation] {
        const Delivery delivery = read();
        QMetaObject::invokeMethod(
            this, [this, delivery, generation] { take(delivery, generation); }, Qt::QueuedConnection);
    });
}

void LatestRead::take(const Delivery& delivery, quint64 generation) {
    if (generation == m_generation) {
        delivery(); // what it asks for comes after this read
    }
    m_running = false;
    if (m_next) {
        start(std::exchange(m_next, nullptr));
    } else {
        emit finished();
    }
}

} // namespace inspection
