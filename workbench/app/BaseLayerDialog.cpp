#include "workbench/app/BaseLayerDialog.h"

#include "workbench/style/FileChoice.h"
#include "workbench/style/ToolTip.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QUrl>
#include <QVBoxLayout>

#include <cmath>

using inspection::BaseLayer;

namespace {

enum Column { VisibleColumn, NameColumn, SourceColumn, OpacityColumn, LevelColumn, ColumnCount };

QTableWidgetItem* cell(const QVariant& value, Qt::ItemFlags more) {
    auto* item = new QTableWidgetItem;
    item->setData(Qt::EditRole, value);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | more);
    return item;
}

/// Numbers are entered within a range.
class NumberDelegate : public QStyledItemDelegate {
public:
    NumberDelegate(int least, int most, QObject* parent)
        : QStyledItemDelegate(parent), m_least(least), m_most(most) {}
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex&) const override {
        auto* box = new QSpinBox(parent);
        box->setRange(m_least, m_most);
        box->setFrame(false);
        return box;
    }
    void setEditorData(QWidget* editor, const QModelIndex& index) const override {
        QStyledItemDelegate::setEditorData(editor, index);
        static_cast<QSpinBox*>(editor)->selectAll();
    }

private:
    int m_least;
    int m_most;
};

int percentOf(double opacity) {
    return static_cast<int>(std::lround(opacity * 100.0));
}

} // namespace

BaseLayerDialog::BaseLayerDialog(std::vector<BaseLayer> layers, const QString& notice, QWidget* parent)
    : BaseDialog(parent), m_layers(std::move(layers)), m_table(new QTableWidget(this)),
      m_address(new QLineEdit(this)), m_message(new QLabel(this)) {
    setObjectName("baseLayerDialog");
    setWindowTitle(tr("底图"));
    build(notice);
    m_titleBar->setTitleContent(tr("底图"));
    m_titleBar->setButtonType(titleBar::OnlyClose);
    resize(760, 420);
    updateLayout();
    fill(0);
    (m_layers.empty() ? static_cast<QWidget*>(m_address) : m_table)->setFocus();
}

BaseLayerDialog::~BaseLayerDialog() = default;

void BaseLayerDialog::build(const QString& notice) {
    m_table->setObjectName("baseLayers");
    m_table->setColumnCount(ColumnCount);
    m_table->setHorizontalHeaderLabels(
        {tr("显示"), tr("名称"), tr("来源"), tr("不透明度 (%)"), tr("最细级别")});
    m_table->horizontalHeaderItem(LevelColumn)
        ->setToolTip(tr("网址的图块最细到哪一级（1–%1）").arg(BaseLayer::kFinestLevel));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setItemDelegateForColumn(OpacityColumn, new NumberDelegate(0, 100, this));
    m_table->setItemDelegateForColumn(LevelColumn, new NumberDelegate(1, BaseLayer::kFinestLevel, this));
    m_table->setTabKeyNavigation(false); // Tab leads out of the table
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    m_table->horizontalHeader()->setSectionResizeMode(SourceColumn, QHeaderView::Stretch);
    connect(m_table, &QTableWidget::cellChanged, this, &BaseLayerDialog::takeCell);
    connect(m_table, &QTableWidget::itemSelectionChanged, this, &BaseLayerDialog::enableButtons);
    connect(new QShortcut(QKeySequence::Delete, m_table, nullptr, nullptr, Qt::WidgetShortcut),
            &QShortcut::activated, this, &BaseLayerDialog::remove);

    auto* order = new QVBoxLayout;
    m_up = addButton(tr("上移(&U)"), "moveUp", &BaseLayerDialog::moveUp);
    m_down = addButton(tr("下移(&D)"), "moveDown", &BaseLayerDialog::moveDown);
    m_remove = addButton(tr("移除(&R)"), "removeLayer", &BaseLayerDialog::remove);
    for (QPushButton* button : {m_up, m_down, m_remove}) {
        order->addWidget(button);
    }
    order->addStretch(1);
    auto* middle = new QHBoxLayout;
    middle->addWidget(m_table, 1);
    middle->addLayout(order);

    m_address->setObjectName("address");
    m_address->setPlaceholderText(QStringLiteral("https://…/{z}/{x}/{y}.png"));
    m_address->setToolTip(
        tr("球面墨卡托图块的网址，行号从南起算时写 {-y}；\n或 WMTS:能力文档的网址,layer=图层名"));
    connect(m_address, &QLineEdit::returnPressed, this, &BaseLayerDialog::addAddress);
    auto* caption = new QLabel(tr("网址(&L)"));
    caption->setBuddy(m_address);
    auto* sources = new QHBoxLayout;
    sources->addWidget(caption);
    sources->addWidget(m_address, 1);
    sources->addWidget(addButton(tr("添加网址(&A)"), "addAddress", &BaseLayerDialog::addAddress));
    sources->addWidget(addButton(tr("添加文件(&F)…"), "addFile", &BaseLayerDialog::addFile));
    sources->addWidget(addButton(tr("添加文件夹(&O)…"), "addFolder", &BaseLayerDialog::addFolder));

    auto* hint = new QLabel(tr("在上面的盖住在下面的；项目自己的影像盖住所有底图。"));
    m_message->setObjectName("message");
    m_message->setWordWrap(true);
    m_message->setTextFormat(Qt::PlainText);
    auto* end = new QHBoxLayout;
    end->addWidget(m_message, 1);
    end->addWidget(addButton(tr("关闭"), "close", &BaseLayerDialog::accept));

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 16, 20, 16);
    column->setSpacing(10);
    column->addWidget(hint);
    column->addLayout(middle, 1);
    column->addLayout(sources);
    column->addLayout(end);
    tell(notice);
}

QPushButton* BaseLayerDialog::addButton(const QString& text, const char* name,
                                        void (BaseLayerDialog::*action)()) {
    auto* button = new QPushButton(text, this);
    button->setObjectName(name);
    button->setAutoDefault(false); // Return in the address field adds it
    connect(button, &QPushButton::clicked, this, action);
    return button;
}

void BaseLayerDialog::tell(const QString& line) {
    m_message->setText(line);
}

// The table shows the top layer first.
BaseLayer& BaseLayerDialog::layerAt(int row) {
    return m_layers[m_layers.size() - 1 - static_cast<std::size_t>(row)];
}

void BaseLayerDialog::fill(int selectedRow) {
    {
        const QSignalBlocker quiet(m_table);
        m_table->setRowCount(static_cast<int>(m_layers.size()));
        for (int row = 0; row < m_table->rowCount(); ++row) {
            const BaseLayer& layer = layerAt(row);
            QTableWidgetItem* visible = cell(QVariant(), Qt::ItemIsUserCheckable);
            visible->setCheckState(layer.visible ? Qt::Checked : Qt::Unchecked);
            QTableWidgetItem* source = cell(inspection::shownSource(layer.source), Qt::NoItemFlags);
            source->setToolTip(plainToolTip(source->text()));
            const bool hasLevel = layer.source.contains("{z}") && inspection::isServed(layer.source);
            m_table->setItem(row, VisibleColumn, visible);
            m_table->setItem(row, NameColumn, cell(layer.name, Qt::ItemIsEditable));
            m_table->setItem(row, SourceColumn, source);
            m_table->setItem(row, OpacityColumn, cell(percentOf(layer.opacity), Qt::ItemIsEditable));
            m_table->setItem(row, LevelColumn,
                             hasLevel ? cell(layer.finestLevel, Qt::ItemIsEditable)
                                      : cell(QVariant(), Qt::NoItemFlags));
        }
    }
    m_table->selectRow(selectedRow);
    enableButtons();
}

void BaseLayerDialog::takeCell(int row, int column) {
    BaseLayer& layer = layerAt(row);
    const QTableWidgetItem& item = *m_table->item(row, column);
    if (column == VisibleColumn) {
        layer.visible = item.checkState() == Qt::Checked;
    } else if (column == NameColumn) {
        layer.name = item.text().simplified();
    } else if (column == OpacityColumn) {
        layer.opacity = item.data(Qt::EditRole).toInt() / 100.0;
    } else if (column == LevelColumn) {
        layer.finestLevel = item.data(Qt::EditRole).toInt();
    }
    emit changed();
}

void BaseLayerDialog::addFile() {
    const QString file =
        FileChoice(this, "base-layers", tr("添加底图文件"))
            .filters(tr("栅格与图块包 (*.tif *.tiff *.vrt *.mbtiles *.gpkg *.jp2 *.png *.jpg);;所有文件 (*)"))
            .existingFile();
    if (!file.isEmpty()) {
        add(file, QFileInfo(file).completeBaseName());
    }
}

void BaseLayerDialog::addFolder() {
    const QString folder = FileChoice(this, "base-layers", tr("添加底图文件夹")).existingFolder();
    if (!folder.isEmpty()) {
        add(folder, QFileInfo(folder).fileName());
    }
}

void BaseLayerDialog::addAddress() {
    const QString address = m_address->text().trimmed();
    BaseLayer layer;
    layer.source = address;
    const auto definition = inspection::gdalDefinition(layer, QString());
    if (!inspection::isServed(address) || !definition) {
        tell(definition ? tr("网址以 http://、https:// 或 WMTS: 开头") : definition.error().userMessage);
        m_address->setFocus();
        return;
    }
    const int host = static_cast<int>(address.indexOf(QLatin1String("://"))) + 3;
    m_address->clear();
    add(address, inspection::shownSource(address).mid(host).section('/', 0, 0).section('@', -1));
}

void BaseLayerDialog::add(const QString& source, const QString& name) {
    BaseLayer layer;
    layer.source = source;
    layer.name = name;
    m_layers.push_back(layer);
    tell(QString());
    fill(0);
    emit changed();
}

void BaseLayerDialog::move(int step) {
    const int row = selectedRow();
    if (row < 0 || row + step < 0 || row + step >= m_table->rowCount()) {
        return;
    }
    std::swap(layerAt(row), layerAt(row + step));
    fill(row + step);
    emit changed();
}

void BaseLayerDialog::remove() {
    const int row = selectedRow();
    if (row < 0) {
        return;
    }
    m_layers.erase(m_layers.end() - 1 - row);
    fill(std::min(row, static_cast<int>(m_layers.size()) - 1));
    emit changed();
}

int BaseLayerDialog::selectedRow() const {
    return m_table->selectedItems().isEmpty() ? -1 : m_table->currentRow();
}

void BaseLayerDialog::enableButtons() {
    const int row = selectedRow();
    m_up->setEnabled(row > 0);
    m_down->setEnabled(row >= 0 && row + 1 < m_table->rowCount());
    m_remove->setEnabled(row >= 0);
}
