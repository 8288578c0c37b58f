#include "workbench/app/SampleMaker.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

SampleMaker::SampleMaker(QObject* parent) : QObject(parent) {
    connect(&m_process, &QProcess::readyReadStandardError, this, &SampleMaker::readProgress);
    connect(&m_process, &QProcess::finished, this, &SampleMaker::end);
}

SampleMaker::~SampleMaker() {
    m_process.disconnect(this);
    if (isRunning()) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

QString SampleMaker::program() {
    return QStandardPaths::findExecutable(QStringLiteral("corridor"),
                                          {QCoreApplication::applicationDirPath()});
}

QString SampleMaker::folder() {
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) +
           QStringLiteral("/管道巡检示例");
}

void SampleMaker::start() {
    if (isRunning()) {
        return;
    }
    if (QFileInfo::exists(folder() + "/project.json")) {
        emit finished({});
        return;
    }
    QDir().mkpath(QFileInfo(folder()).absolutePath());
    m_making = std::make_unique<QTemporaryDir>(QFileInfo(folder()).absolutePath() + "/.corridor-XXXXXX");
    if (!m_making->isValid()) {
        emit finished(tr("%1：无法创建文件夹").arg(folder()));
        return;
    }
    m_isCancelled = false;
    m_process.start(program(), {"sample", m_making->filePath("sample")});
}

void SampleMaker::cancel() {
    m_isCancelled = true;
    m_process.terminate();
}

void SampleMaker::readProgress() {
    static const QRegularExpression pattern(QStringLiteral("(\\d+)%"));
    auto matches = pattern.globalMatch(QString::fromUtf8(m_process.readAllStandardError()));
    while (matches.hasNext()) {
        emit progressed(matches.next().captured(1).toInt());
    }
}

void SampleMaker::end(int exitCode, QProcess::ExitStatus status) {
    if (m_isCancelled) {
        m_making.reset();
        emit cancelled();
        return;
    }
    QString problem;
    if (status != QProcess::NormalExit || exitCode != 0) {
        problem = tr("示例项目未能生成");
    } else if (!QDir().rename(m_making->filePath("sample"), folder())) {
        problem = tr("%1：无法创建文件夹").arg(folder());
    }
    m_making.reset();
    emit finished(problem);
}
