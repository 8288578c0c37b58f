#include "workbench/app/GuideWindow.h"

#include <QImage>
#include <QLineEdit>
#include <QScrollBar>
#include <QShortcut>
#include <QSplitter>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kPictureWidthPixels = 720;
constexpr int kBlockRole = Qt::UserRole;

/// Pictures are as wide as the text at most.
class GuideText : public QTextBrowser {
public:
    using QTextBrowser::QTextBrowser;

    QVariant loadResource(int type, const QUrl& name) override {
        const QVariant resource = QTextBrowser::loadResource(type, name);
        if (type != QTextDocument::ImageResource) {
            return resource;
        }
        const auto picture = QImage::fromData(resource.toByteArray());
        return picture.width() <= kPictureWidthPixels
                   ? picture
                   : picture.scaledToWidth(kPictureWidthPixels, Qt::SmoothTransformation);
    }
};

} // namespace

GuideWindow::GuideWindow(QWidget* parent)
    : QDialog(parent), m_contents(new QTreeWidget), m_search(new QLineEdit), m_text(new GuideText) {
    setObjectName("guide");
    setWindowTitle(tr("使用手册"));
    m_contents->setObjectName("guideContents");
    m_contents->setHeaderHidden(true);
    m_search->setObjectName("guideSearch");
    m_search->setPlaceholderText(tr("查找（Ctrl+F，回车找下一处）"));
    m_search->setClearButtonEnabled(true);
    m_text->setObjectName("guideText");
    m_text->setOpenExternalLinks(true);
    m_text->setSource(QUrl("qrc:/guide/user-guide.zh-CN.md"), QTextDocument::MarkdownResource);
    fillContents();

    auto* beside = new QWidget;
    auto* column = new QVBoxLayout(beside);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_search);
    column->addWidget(m_contents);
    auto* panes = new QSplitter;
    panes->addWidget(beside);
    panes->addWidget(m_text);
    panes->setStretchFactor(1, 1);
    auto* all = new QVBoxLayout(this);
    all->addWidget(panes);
    resize(kPictureWidthPixels + 320, 720);

    connect(m_contents, &QTreeWidget::currentItemChanged, this, [this](const QTreeWidgetItem* chapter) {
        if (chapter) {
            goTo(*chapter);
        }
    });
    connect(m_search, &QLineEdit::returnPressed, this, &GuideWindow::findNext);
    connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, m_search, [this] {
        m_search->setFocus();
        m_search->selectAll();
    });
    m_text->setFocus();
}

void GuideWindow::fillContents() {
    QTreeWidgetItem* chapter = nullptr;
    for (QTextBlock block = m_text->document()->begin(); block.isValid(); block = block.next()) {
        const int level = block.blockFormat().headingLevel();
        if (level < 2) { // the title stands above all
            continue;
        }
        auto* item = level == 2 || !chapter ? new QTreeWidgetItem(m_contents) : new QTreeWidgetItem(chapter);
        item->setText(0, block.text());
        item->setData(0, kBlockRole, block.position());
        chapter = level == 2 ? item : chapter;
    }
    m_contents->expandAll();
}

void GuideWindow::goTo(const QTreeWidgetItem& chapter) {
    QTextCursor cursor(m_text->document());
    cursor.setPosition(chapter.data(0, kBlockRole).toInt());
    m_text->setTextCursor(cursor);
    const int top = m_text->cursorRect().top() + m_text->verticalScrollBar()->value();
    m_text->verticalScrollBar()->setValue(top);
}

void GuideWindow::findNext() {
    if (!m_text->find(m_search->text())) {
        m_text->moveCursor(QTextCursor::Start);
        m_text->find(m_search->text());
    }
}
