#pragma once

#include "workbench/app/RecentProjects.h"

#include <QAbstractButton>
#include <QImage>

class QToolButton;

/// A project on the start page: its picture, name and folder; a click opens it. GUI thread.
class RecentCard : public QAbstractButton {
    Q_OBJECT

public:
    static constexpr QSize kPicture{120, 80};

    explicit RecentCard(const RecentProject& project, QWidget* parent = nullptr);

    const RecentProject& project() const { return m_project; }
    bool isMissing() const { return m_isMissing; }
    /// What was found of the project on the disk.
    void setFound(bool isThere, const QImage& picture);

    QSize sizeHint() const override { return {360, kPicture.height() + 16}; }

signals:
    void removeRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override; ///< Enter opens, Delete removes
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    RecentProject m_project;
    QImage m_picture;
    bool m_isMissing = false;
    QToolButton* m_remove;
};
