#include "workbench/app/DropQuestion.h"

#include "workbench/style/ToolTip.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

DropQuestion::DropQuestion(int files, const QString& project, QWidget* parent) : BaseDialog(parent) {
    setObjectName("dropQuestion");
    setWindowTitle(tr("拖入的文件"));
    m_titleBar->setTitleContent(tr("拖入的文件"));
    m_titleBar->setButtonType(titleBar::OnlyClose);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(24, 20, 24, 18);
    column->setSpacing(10);
    auto* text =
        new QLabel(files == 1 ? tr("拖入的文件用来做什么？") : tr("拖入的 %1 个文件用来做什么？").arg(files));
    column->addWidget(text);
    column->addSpacing(4);
    const auto addButton = [&](const char* name, const QString& words, Answer answer) {
        auto* button = new QPushButton(words);
        button->setObjectName(name);
        button->setMinimumWidth(280);
        connect(button, &QPushButton::clicked, this, [this, answer] {
            m_answer = answer;
            accept();
        });
        column->addWidget(button);
        return button;
    };
    QPushButton* add = addButton("addAsEpoch", tr("加入当前项目为新期次"), Answer::AddEpoch);
    add->setToolTip(plainToolTip(project));
    add->setDefault(true);
    addButton("makeProject", tr("新建项目…"), Answer::NewProject);
    addButton("cancelDrop", tr("取消"), Answer::Cancel);
    updateLayout();
    adjustSize();
    add->setFocus();
}

DropQuestion::Answer DropQuestion::ask() {
    setWindowModality(Qt::ApplicationModal);
    exec();
    return m_answer;
}
