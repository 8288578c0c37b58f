#pragma once

#include "samples/Site.h"

#include <array>

namespace samples {

/// What grows in the first survey's spring. Mulched fields lie under strips of plastic film.
enum class Crop : std::uint8_t { Wheat, Rape, Maize, Vegetables, Fallow, Mulched, Orchard, Meadow };

/// How one parcel is farmed.
struct CropStyle {
    Crop crop = Crop::Wheat;
    float heightMetres = 0.0F;     ///< of the plants
    float rowSpacingMetres = 1.0F; ///< of the rows one sees from the air
    float rowHeightMetres = 0.0F;  ///< from furrow to ridge
    float tone = 0.0F;             ///< -1 .. 1, darker or lighter than its neighbours
    bool rowsAlongV = false;
};

/// The farm land: each bank of the river is one turned frame, split again and again into parcels, along a
/// binary tree of straight cuts. Immutable after construction; safe to read from any thread.
class Parcels {
public:
    /// `site` must outlive it.
    explicit Parcels(const Site& site);

    struct Place {
        std::uint16_t ident; ///< of the parcel
        float edgeMetres;    ///< distance from its nearest edge
        float trackMetres;   ///< distance from the middle of the nearest farm track
        float u, v;          ///< in the frame of the bank
    };
    /// Site coordinates, metres; every place belongs to a parcel, also under the road or the village.
    Place find(double x, double y) const;

    /// Idents of terraces differ from those of the parcel they cut, so that each is farmed in its own way. Two
    /// terraces far apart may share one.
    static std::uint16_t terraceIdent(std::uint16_t parcel, int terraceNumber);
    /// Every ident has one, those of terraces as well.
    const CropStyle& style(std::uint16_t ident) const { return m_styles[ident % kStyleCount]; }
    /// The frame of the bank on which (x, y) lies.
    const TurnedFrame& frameAt(double x, double y) const { return bankAt(x, y).frame; }
    /// Of the banks west and east of the river.
    const TurnedFrame& westFrame() const { return m_west.frame; }
    const TurnedFrame& eastFrame() const { return m_east.frame; }

private:
    static constexpr std::size_t kStyleCount = 4096;

    /// A cut through a rectangle of land, of the tree that both banks share.
    struct Node {
        bool splitsU = false;
        bool isTrack = false;
        float position = 0.0F;
        int low = -1; ///< child, or minus the parcel's ident minus 1
        int high = -1;
    };
    struct Rectangle {
        double uMin, vMin, uMax, vMax;
    };
    struct Bank {
        TurnedFrame frame;
        Rectangle bounds{};
        int root = 0;
    };

    const Bank& bankAt(double x, double y) const;
    /// Returns the node that was made, or minus the ident of an uncut parcel minus 1.
    int split(const Rectangle& bounds, class Random& random);

    const Site& m_site;
    std::vector<Node> m_nodes;
    Bank m_west;
    Bank m_east;
    std::uint16_t m_parcelCount = 0;
    std::array<CropStyle, kStyleCount> m_styles;
};

} // namespace samples
