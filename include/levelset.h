// CLevelSet: region-based level-set segmentation of a small grey image,
// started from a circle.
//
// Contract: `image` is rows x columns bytes, packed rows, borrowed during
// construction only. The constructor runs the whole evolution; GetContour
// returns the zero level as sub-pixel points (x along columns, y along
// rows) in no particular order. The level function starts as radius minus
// the distance from the circle's centre, positive inside. Each step moves
// it by a local two-region force: a pixel closer to the mean grey of the
// inside of its neighbourhood than to the mean of the outside pulls the
// front over itself. The function is smoothed every step and rebuilt as a
// signed distance every few steps. Owns its arrays; not copyable.
#ifndef KLAV_LEVELSET_H
#define KLAV_LEVELSET_H

#include "klav_export.h"
#include "klavtypes.h"

#include <vector>

namespace klav {

class KLAV_API CLevelSet {
public:
    CLevelSet(unsigned char *image, int rows, int columns, CIRCEL start);
    CLevelSet(const CLevelSet &) = delete;
    CLevelSet &operator=(const CLevelSet &) = delete;

    std::vector<Vector2> GetContour() const;

private:
    friend struct CLevelSetTestAccess;
    // Sets the time step (0.5), the half-size of the local window (8), the
    // regulariser of the local means (1e-7) and the weight of the region
    // force (1.0).
    void Initialise();
    void Evolve(int iterations);
    void Reinitialise();

    int m_rows;
    int m_columns;
    std::vector<float> m_image;
    std::vector<float> m_phi;
    float m_timeStep;
    int m_window;
    float m_epsilon;
    float m_lambda;
};

}  // namespace klav

#endif
