#pragma once

#include <QDialog>

class QLineEdit;
class QTextBlock;
class QTextBrowser;
class QTreeWidget;
class QTreeWidgetItem;

/// The user guide with its table of contents and a search; it is part of the program. GUI thread.
class GuideWindow : public QDialog {
    Q_OBJECT

public:
    explicit GuideWindow(QWidget* parent = nullptr);

private:
    void fillContents();
    void goTo(const QTreeWidgetItem& chapter);
    /// To the next place after the one that is marked, from the start again after the last.
    void findNext();

    QTreeWidget* m_contents;
    QLineEdit* m_search;
    QTextBrowser* m_text;
};
