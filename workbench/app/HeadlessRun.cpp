#include "workbench/app/HeadlessRun.h"

#include "host/inspection/AVWindow.h"
#include "host/inspection/IORVAContext.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/ToolArea.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/viewer/GlobeWidget.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QEventLoop>
#include <QJsonDocument>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QSaveFile>
#include <QTableView>
#include <QTextStream>
#include <QTreeWidget>

namespace {

// Only there to end a run that hangs; no step comes near it.
constexpr qint64 kStepLimitMilliseconds = 1'200'000;

// How often a wait looks whether its end has come; between two looks the program sleeps.
constexpr int kLookMilliseconds = 10;

constexpr int kNameColumn = 34; ///< letters, in the printed summary

void sendMouse(QWidget& widget, QEvent::Type type, const QPoint& position, Qt::MouseButtons held) {
    QMouseEvent event(type, position, widget.mapToGlobal(position), Qt::LeftButton, held, Qt::NoModifier);
    QApplication::sendEvent(&widget, &event);
}

void clickWithMouse(QWidget& widget) {
    const QPoint centre = widget.rect().center();
    sendMouse(widget, QEvent::MouseButtonPress, centre, Qt::LeftButton);
    sendMouse(widget, QEvent::MouseButtonRelease, centre, Qt::NoButton);
}

void doubleClickWithMouse(QWidget& widget, const QPoint& position) {
    sendMouse(widget, QEvent::MouseButtonPress, position, Qt::LeftButton);
    sendMouse(widget, QEvent::MouseButtonRelease, position, Qt::NoButton);
    sendMouse(widget, QEvent::MouseButtonDblClick, position, Qt::LeftButton);
    sendMouse(widget, QEvent::MouseButtonRelease, position, Qt::NoButton);
}

void pressKey(QWidget& widget, Qt::Key key) {
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, QString(QChar(key)));
    QApplication::sendEvent(&widget, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, QString(QChar(key)));
    QApplication::sendEvent(&widget, &release);
}

QTextStream& standardOutput() {
    static QTextStream stream(stdout);
    return stream;
}

} // namespace

HeadlessRun::HeadlessRun(MainWindow& window, const QString& folder, const QElapsedTimer& sinceStart)
    : m_window(window), m_folder(folder), m_sinceStart(sinceStart) {
    connect(&m_messageWatch, &QTimer::timeout, this, &HeadlessRun::dismissMessages);
    m_messageWatch.start(50);
}

int HeadlessRun::run() {
    QElapsedTimer clock;
    clock.start();
    const bool worked =
        runStep("show", &HeadlessRun::showCorridor) && runStep("tick", &HeadlessRun::tickStations) &&
        runStep("compute", &HeadlessRun::computeAnomalies) && runStep("north", &HeadlessRun::turnNorth) &&
        runStep("report", &HeadlessRun::writeReport) && runStep("shape", &HeadlessRun::writeShapes) &&
        runStep("look", &HeadlessRun::lookAtFirstAnomaly) && runStep("window", &HeadlessRun::saveWindow);
    m_seconds["total"] = static_cast<double>(clock.elapsed()) / 1000.0;
    const bool summarised = writeSummary(worked);
    if (!worked || !summarised) {
        QTextStream(stderr) << m_failure << '\n';
        return 1;
    }
    printSummary();
    return 0;
}

bool HeadlessRun::showCorridor() {
    if (!waitUntil([this] { return m_window.globe().isPictureComplete(); }, "the first complete picture")) {
        return false;
    }
    m_seconds["start_to_first_picture"] = static_cast<double>(m_sinceStart.elapsed()) / 1000.0;
    return true;
}

bool HeadlessRun::tickStations() {
    auto* tree = m_window.findChild<QTreeWidget*>("stationTree");
    QTreeWidgetItem* stations = tree ? tree->topLevelItem(0) : nullptr;
    if (!stations) {
        return fail("the station tree is empty");
    }
    tree->setCurrentItem(stations);
    if (stations->checkState(0) != Qt::Checked) {
        pressKey(*tree, Qt::Key_Space);
    }
    if (stations->checkState(0) != Qt::Checked) {
        return fail("the stations cannot be ticked");
    }
    m_results["stations"] = stations->childCount();
    return true;
}

bool HeadlessRun::computeAnomalies() {
    bool finished = false;
    bool succeeded = false;
    QString message;
    const auto connection = connect(&InspectionContext::instance(), &InspectionContext::computeFinished, this,
                                    [&](bool ok, const QString& text) {
                                        finished = true;
                                        succeeded = ok;
                                        message = text;
                                    });
    const bool ended =
        pressTool(QString::fromUtf8("计算异常")) && waitUntil([&] { return finished; }, "the computation");
    disconnect(connection);
    if (!ended) {
        return false;
    }
    if (!succeeded) {
        return fail("anomalies not computed: " + message);
    }

    const inspection::ComputationSummary& summary = InspectionContext::instance().lastComputation();
    m_results["anomalies"] = summary.anomalies;
    m_results["cells"] = static_cast<double>(summary.cells);
    m_results["cells_per_second"] =
        summary.seconds > 0.0 ? static_cast<double>(summary.cells) / summary.seconds : 0.0;
    return true;
}

bool HeadlessRun::turnNorth() {
    return pressTool(QString::fromUtf8("正北视图")) &&
           waitUntil([this] { return m_window.globe().isPictureComplete(); },
                     "the picture of the north-up view");
}

bool HeadlessRun::writeReport() {
    return pressAndWaitForOutput(QString::fromUtf8("输出报告"));
}

bool HeadlessRun::writeShapes() {
    return pressAndWaitForOutput(QString::fromUtf8("输出shape"));
}

bool HeadlessRun::lookAtFirstAnomaly() {
    if (m_results["anomalies"].toInt() == 0) {
        return true;
    }
    auto* table = IORVAContext::Instance()->GetAVWindow()->findChild<QTableView*>();
    if (!table || !table->model() || table->model()->rowCount() == 0) {
        return fail("the anomaly table is empty");
    }
    doubleClickWithMouse(*table->viewport(), table->visualRect(table->model()->index(0, 0)).center());
    m_window.globe().requestRedraw();
    return waitUntil([this] { return m_window.globe().isPictureComplete(); }, "the picture of an anomaly");
}

bool HeadlessRun::saveWindow() {
    const QString file = QDir(m_folder).filePath("window.png");
    return m_window.grab().save(file) || fail(file + ": cannot be written");
}

bool HeadlessRun::runStep(const char* name, Step step) {
    QElapsedTimer clock;
    clock.start();
    const bool worked = (this->*step)();
    m_seconds[name] = static_cast<double>(clock.elapsed()) / 1000.0;
    return worked;
}

bool HeadlessRun::pressTool(const QString& buttonName) {
    auto* button = m_window.toolArea().findChild<QAbstractButton*>(buttonName);
    if (!button) {
        return fail("no button " + buttonName +
                    (m_messages.isEmpty() ? QString() : ": " + m_messages.join(' ')));
    }
    clickWithMouse(*button);
    return true;
}

bool HeadlessRun::waitUntil(const std::function<bool()>& done, const QString& what) {
    QElapsedTimer clock;
    clock.start();
    QEventLoop loop;
    QTimer look;
    connect(&look, &QTimer::timeout, &loop, [&] {
        if (done() || clock.hasExpired(kStepLimitMilliseconds)) {
            loop.quit();
        }
    });
    look.start(kLookMilliseconds);
    if (!done()) {
        loop.exec();
    }
    return done() || fail("gave up waiting for " + what);
}

bool HeadlessRun::pressAndWaitForOutput(const QString& buttonName) {
    bool finished = false;
    bool succeeded = false;
    QString path;
    const auto connection = connect(&InspectionContext::instance(), &InspectionContext::outputFinished, this,
                                    [&](const QString&, bool ok, const QString& file) {
                                        finished = true;
                                        succeeded = ok;
                                        path = file;
                                    });
    const bool ended = pressTool(buttonName) && waitUntil([&] { return finished; }, buttonName);
    disconnect(connection);
    if (!ended) {
        return false;
    }
    return succeeded || fail(path + ": not written. " + m_messages.join(' '));
}

bool HeadlessRun::fail(const QString& cause) {
    m_failure = cause.simplified();
    return false;
}

// Nobody is there to close a message; what it says is kept for the cause of a failure.
void HeadlessRun::dismissMessages() {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!dialog) {
        return;
    }
    for (const QLabel* label : dialog->findChildren<QLabel*>()) {
        if (!label->text().isEmpty() && label->text() != dialog->windowTitle()) {
            m_messages << label->text();
        }
    }
    dialog->reject();
}

bool HeadlessRun::writeSummary(bool worked) {
    QJsonObject summary = m_results;
    summary["worked"] = worked;
    summary["seconds"] = m_seconds;
    if (!worked) {
        summary["failure"] = m_failure;
    }
    QSaveFile file(QDir(m_folder).filePath("summary.json"));
    const QByteArray text = QJsonDocument(summary).toJson();
    const bool written =
        file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush() && file.commit();
    return written || fail(file.fileName() + ": " + file.errorString());
}

void HeadlessRun::printSummary() const {
    QTextStream& out = standardOutput();
    const auto row = [&out](const QString& name, const QString& value) {
        out << name.leftJustified(kNameColumn) << value << '\n';
    };
    row("stations", QString::number(m_results["stations"].toInt()));
    row("anomalies", QString::number(m_results["anomalies"].toInt()));
    row("cells per second", QString::number(m_results["cells_per_second"].toDouble(), 'f', 0));
    for (const QString& step : m_seconds.keys()) {
        row(QString(step).replace('_', ' ') + ", seconds",
            QString::number(m_seconds[step].toDouble(), 'f', 2));
    }
    row("results in", QDir::toNativeSeparators(m_folder));
    out.flush();
}
