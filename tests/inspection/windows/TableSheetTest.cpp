// What a table shows, as spreadsheets read it.

#include "workbench/inspection/table/TableSheet.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

namespace {

using namespace inspection;

TableSheet sheet() {
    return {{"名称", "面积(m²)", "属性"},
            {{QString("S1-0001"), 1234.56789, QString("=HYPERLINK(\"http://x\")")},
             {QString("-2"), -0.8, QString("甲,\"乙\"\n丙")},
             {QString("@x"), {}, QString("+1")}}};
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

TEST(TableSheetTest, TheClipboardGetsTabsTitlesAndNoFormula) {
    EXPECT_EQ(tabSeparated(sheet()).toStdString(), "名称\t面积(m²)\t属性\n"
                                                   "S1-0001\t1234.568\t'=HYPERLINK(\"http://x\")\n"
                                                   "'-2\t-0.8\t甲,\"乙\" 丙\n"
                                                   "'@x\t\t'+1\n");
}

TEST(TableSheetTest, WideSignsBeginAFormulaToo) {
    for (const char* words : {"＝1", "＋1", "－1", "＠1"}) {
        const TableSheet one{{"属性"}, {{QString(words)}}};
        EXPECT_EQ(tabSeparated(one).toStdString(), "属性\n'" + std::string(words) + '\n');
    }
}

TEST(TableSheetTest, CsvHasAByteOrderMarkQuotesAndNoFormula) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("表.csv");
    ASSERT_TRUE(writeSheet(sheet(), path));
    EXPECT_EQ(contentOf(path).toStdString(), "\xEF\xBB\xBF名称,面积(m²),属性\r\n"
                                             "S1-0001,1234.568,\"'=HYPERLINK(\"\"http://x\"\")\"\r\n"
                                             "'-2,-0.8,\"甲,\"\"乙\"\"\n丙\"\r\n"
                                             "'@x,,'+1\r\n");
}

TEST(TableSheetTest, AWorkbookHasFiguresAndTextsButNoFormula) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("表.xlsx");
    ASSERT_TRUE(writeSheet(sheet(), path));
    GDALAllRegister();
    const GDALDatasetUniquePtr book(GDALDataset::Open(path.toUtf8().constData(), GDAL_OF_VECTOR));
    ASSERT_TRUE(book);
    OGRLayer* page = book->GetLayer(0);
    ASSERT_EQ(page->GetFeatureCount(), 3);
    EXPECT_EQ(page->GetLayerDefn()->GetFieldDefn(1)->GetType(), OFTReal) << "figures stay figures";
    const std::unique_ptr<OGRFeature> first(page->GetNextFeature());
    EXPECT_DOUBLE_EQ(first->GetFieldAsDouble(1), 1234.568);
    EXPECT_STREQ(first->GetFieldAsString(2), "=HYPERLINK(\"http://x\")");
    const std::unique_ptr<OGRFeature> second(page->GetNextFeature());
    EXPECT_DOUBLE_EQ(second->GetFieldAsDouble(1), -0.8);
    const std::unique_ptr<OGRFeature> third(page->GetNextFeature());
    EXPECT_FALSE(third->IsFieldSetAndNotNull(1));
}

TEST(TableSheetTest, WhatCannotBeWrittenIsTold) {
    const QTemporaryDir folder;
    for (const char* name : {"missing/x.csv", "missing/x.xlsx"}) {
        const Status written = writeSheet(sheet(), folder.filePath(name));
        ASSERT_FALSE(written);
        EXPECT_TRUE(written.error().userMessage.contains("无法写入"))
            << written.error().userMessage.toStdString();
    }
}

} // namespace
