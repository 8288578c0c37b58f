#pragma once

#include <QStyledItemDelegate>

namespace inspection {

/// Edits an attribute in a combo box of the fixed classes that takes other words as well. What the user
/// confirms is announced, not written into the model: it may be refused. An open editor keeps what the user
/// writes, whatever becomes of the row. GUI thread.
class AttributeDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;

signals:
    void opened(QWidget* editor) const;
    void chosen(const QModelIndex& index, const QString& attribute) const;

private slots:
    void commitChoice();
};

} // namespace inspection
