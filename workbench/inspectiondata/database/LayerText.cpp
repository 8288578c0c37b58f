#include "workbench/inspectiondata/database/LayerText.h"

#include "host/Gbk.h"

#include <ogrsf_frmts.h>

namespace inspection {

namespace {

bool isUtf8(const char* bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(QByteArrayView(bytes));
    return !decoder.hasError();
}

bool isUtf8(const OGRFeature& feature) {
    for (int field = 0; field < feature.GetFieldCount(); ++field) {
        if (feature.GetFieldDefnRef(field)->GetType() == OFTString &&
            !isUtf8(feature.GetFieldAsString(field))) {
            return false;
        }
    }
    return true;
}

bool isUtf8(OGRLayer& layer) {
    if (layer.TestCapability(OLCStringsAsUTF8) != 0) {
        return true;
    }
    const OGRFeatureDefn& columns = *layer.GetLayerDefn();
    for (int field = 0; field < columns.GetFieldCount(); ++field) {
        if (!isUtf8(columns.GetFieldDefn(field)->GetNameRef())) {
            return false;
        }
    }
    for (const auto& feature : layer) {
        if (!isUtf8(*feature)) {
            return false;
        }
    }
    return true;
}

} // namespace

LayerText::LayerText(OGRLayer& layer) : m_gbk(!isUtf8(layer)) {}

QString LayerText::operator()(const char* bytes) const {
    return m_gbk ? fromGbk(bytes) : QString::fromUtf8(bytes);
}

} // namespace inspection
