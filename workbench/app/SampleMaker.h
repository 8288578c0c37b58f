#pragma once

#include <QObject>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>

/// Has the sample project made by the `corridor` command that lies beside the program. GUI thread.
class SampleMaker : public QObject {
    Q_OBJECT

public:
    explicit SampleMaker(QObject* parent = nullptr);
    ~SampleMaker() override;

    /// The command; empty when it is not there.
    static QString program();
    /// Where the sample goes: among the user's documents.
    static QString folder();

    /// Makes it, or finds it made. Does nothing while it is being made.
    void start();
    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    void cancel();

signals:
    void progressed(int percent);
    /// `problem` is empty when the project stands in its folder; one Chinese line otherwise.
    void finished(const QString& problem);
    /// In place of finished, after cancel.
    void cancelled();

private:
    void readProgress();
    void end(int exitCode, QProcess::ExitStatus status);

    QProcess m_process;
    std::unique_ptr<QTemporaryDir> m_making; ///< beside the folder, on the same disk
    bool m_isCancelled = false;
};
