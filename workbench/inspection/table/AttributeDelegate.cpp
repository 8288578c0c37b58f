#include "workbench/inspection/table/AttributeDelegate.h"

#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QComboBox>
#include <QLineEdit>

namespace inspection {

namespace {

/// Knows whether a choice was made in its list, which ends the edit, or by walking with the arrow keys, which
/// does not.
class AttributeEditor : public QComboBox {
public:
    using QComboBox::QComboBox;
    bool isListUsed() const { return m_isListUsed; }
    void showPopup() override {
        m_isListUsed = true;
        QComboBox::showPopup();
    }

protected:
    void keyPressEvent(QKeyEvent* event) override {
        m_isListUsed = false;
        QComboBox::keyPressEvent(event);
    }

private:
    bool m_isListUsed = false;
};

} // namespace

QWidget* AttributeDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                         const QModelIndex& /*index*/) const {
    auto* editor = new AttributeEditor(parent);
    editor->setObjectName("attributeEditor");
    editor->setEditable(true);
    editor->setInsertPolicy(QComboBox::NoInsert);
    editor->addItems(fixedClasses());
    connect(editor, SIGNAL(activated(int)), this, SLOT(commitChoice()));
    return editor;
}

void AttributeDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    auto* box = qobject_cast<QComboBox*>(editor);
    box->setCurrentIndex(box->findText(index.data(Qt::EditRole).toString()));
    box->setEditText(index.data(Qt::DisplayRole).toString());
    box->lineEdit()->selectAll();
}

void AttributeDelegate::setModelData(QWidget* editor, QAbstractItemModel* /*model*/,
                                     const QModelIndex& index) const {
    const QString text = qobject_cast<QComboBox*>(editor)->currentText();
    // Left as it was, an attribute keeps what one line cannot show, such as its line breaks.
    if (text != index.data(Qt::DisplayRole).toString()) {
        emit chosen(index, text);
    }
}

void AttributeDelegate::commitChoice() {
    auto* editor = dynamic_cast<AttributeEditor*>(sender());
    if (!editor || !editor->isListUsed()) {
        return;
    }
    emit commitData(editor);
    emit closeEditor(editor);
}

} // namespace inspection
