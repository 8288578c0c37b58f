#include "workbench/app/StartPage.h"

#include "workbench/app/RecentCard.h"
#include "workbench/app/SampleMaker.h"

#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

constexpr int kColumns = 2;

QPushButton* action(const char* name, const QString& text, const QString& toolTip) {
    auto* button = new QPushButton(text);
    button->setObjectName(name);
    button->setToolTip(toolTip);
    button->setAutoDefault(true); // Enter presses the one with the focus
    button->setMinimumSize(200, 40);
    return button;
}

/// What was found of a project on the disk.
struct Found {
    bool isThere = false;
    QImage picture;
};

std::vector<Found> lookUp(const std::vector<RecentProject>& projects) {
    std::vector<Found> found;
    for (const RecentProject& project : projects) {
        found.push_back(
            {QFileInfo::exists(project.folder + "/project.json"), QImage(thumbnailFile(project.folder))});
    }
    return found;
}

} // namespace

StartPage::StartPage(QWidget* parent)
    : QWidget(parent), m_new(action("newProject", tr("新建项目…"), tr("由航测数据建立项目（Ctrl+N）"))) {
    setObjectName("startPage");
    setAttribute(Qt::WA_StyledBackground);
    auto* panes = new QHBoxLayout;
    panes->setSpacing(32);
    panes->addWidget(buildActions());
    panes->addWidget(buildRecent(), 1);
    auto* title = new QLabel(tr("管道巡检"));
    title->setObjectName("startTitle");
    auto* subtitle = new QLabel(tr("比较两期航测的地表，找出管道上方的地面变化"));
    subtitle->setObjectName("startSubtitle");
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(48, 32, 48, 16);
    column->setSpacing(6);
    column->addWidget(title);
    column->addWidget(subtitle);
    column->addSpacing(20);
    column->addLayout(panes, 1);
    setFocusProxy(m_new);
}

QWidget* StartPage::buildActions() {
    auto* open = action("openFromStart", tr("打开项目…"), tr("打开项目文件夹（Ctrl+O）"));
    connect(m_new, &QPushButton::clicked, this, &StartPage::newRequested);
    connect(open, &QPushButton::clicked, this, &StartPage::openRequested);
    auto* actions = new QWidget;
    auto* column = new QVBoxLayout(actions);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    column->addWidget(m_new);
    column->addWidget(open);
    if (!SampleMaker::program().isEmpty()) {
        m_sample = action("sampleProject", tr("示例项目"), tr("生成并打开一段示例管道"));
        connect(m_sample, &QPushButton::clicked, this, &StartPage::sampleRequested);
        column->addWidget(m_sample);
    }
    m_progress = new QProgressBar;
    m_progress->setObjectName("sampleProgress");
    m_progress->setFormat(tr("正在生成 %p%"));
    auto* cancel = new QPushButton(tr("取消"));
    cancel->setObjectName("cancelSample");
    connect(cancel, &QPushButton::clicked, this, &StartPage::sampleCancelled);
    m_making = new QWidget;
    auto* making = new QHBoxLayout(m_making);
    making->setContentsMargins(0, 0, 0, 0);
    making->addWidget(m_progress, 1);
    making->addWidget(cancel);
    m_making->hide();
    column->addWidget(m_making);
    m_lastAction = cancel;
    auto* hint = new QLabel(tr("也可以把项目文件夹，\n或各期表面模型拖到窗口中"));
    hint->setObjectName("startHint");
    column->addSpacing(8);
    column->addWidget(hint);
    column->addStretch(1);
    return actions;
}

QWidget* StartPage::buildRecent() {
    auto* content = new QWidget;
    m_grid = new QGridLayout(content);
    m_grid->setContentsMargins(0, 0, 6, 0);
    m_grid->setSpacing(10);
    for (int i = 0; i < kColumns; ++i) {
        m_grid->setColumnStretch(i, 1);
    }
    m_grid->setRowStretch(RecentProjects::kMost, 1);
    m_none = new QLabel(tr("还没有打开过项目"));
    m_none->setObjectName("startHint");
    auto* scroll = new QScrollArea;
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    auto* caption = new QLabel(tr("最近的项目"));
    caption->setObjectName("startCaption");
    auto* recent = new QWidget;
    auto* column = new QVBoxLayout(recent);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    column->addWidget(caption);
    column->addWidget(m_none);
    column->addWidget(scroll, 1);
    return recent;
}

void StartPage::showRecent() {
    for (RecentCard* card : m_cards) {
        card->hide();
        card->deleteLater(); // it may be the sender
    }
    m_cards.clear();
    const std::vector<RecentProject> projects = RecentProjects::all();
    for (const RecentProject& project : projects) {
        addCard(new RecentCard(project));
    }
    m_none->setVisible(projects.empty());
    m_lookUp.drop();
    m_lookUp.ask([this, projects] {
        const std::vector<Found> found = lookUp(projects);
        return [this, found] {
            for (std::size_t i = 0; i < m_cards.size() && i < found.size(); ++i) {
                m_cards[i]->setFound(found[i].isThere, found[i].picture);
            }
        };
    });
}

void StartPage::addCard(RecentCard* card) {
    const int index = int(m_cards.size());
    m_grid->addWidget(card, index / kColumns, index % kColumns);
    setTabOrder(m_cards.empty() ? m_lastAction : m_cards.back(), card);
    m_cards.push_back(card);
    connect(card, &RecentCard::clicked, this, [this, card] { emit projectChosen(card->project().folder); });
    connect(card, &RecentCard::removeRequested, this, [this, card] {
        RecentProjects::remove(card->project().folder);
        showRecent();
        setFocus();
    });
}

void StartPage::showSampleProgress(int percent) {
    m_making->setVisible(percent >= 0);
    m_progress->setValue(percent);
    if (m_sample) {
        m_sample->setEnabled(percent < 0);
    }
}
