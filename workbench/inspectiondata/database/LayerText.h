#pragma once

#include <QString>

class OGRLayer;

namespace inspection {

/// The texts of a vector layer. They are UTF-8, unless the layer's format leaves the encoding open and one of
/// its texts is not UTF-8: then all of them are read as GBK, as spreadsheets and older programs write them.
class LayerText {
public:
    /// May read the whole layer.
    explicit LayerText(OGRLayer& layer);

    bool isGbk() const { return m_gbk; }
    QString operator()(const char* bytes) const;

private:
    bool m_gbk;
};

} // namespace inspection
