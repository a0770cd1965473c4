// CUniquePointSet: a growing list of distinct points.
//
// Contract: owns one heap array, released by the destructor; points are
// compared exactly in both coordinates by a linear search. Copying an
// object is not supported. Not safe for concurrent use.
#ifndef KLAV_UNIQUEPOINTSET_H
#define KLAV_UNIQUEPOINTSET_H

#include "klav_export.h"
#include "klavtypes.h"

namespace klav {

class KLAV_API CUniquePointSet {
public:
    CUniquePointSet();
    ~CUniquePointSet();
    CUniquePointSet(const CUniquePointSet &) = delete;
    CUniquePointSet &operator=(const CUniquePointSet &) = delete;

    // Appends the point and returns true, or returns false when present.
    bool Insert(Vector2 &point);
    int Count() const { return m_count; }
    const Vector2 *Points() const { return m_points; }

private:
    Vector2 *m_points;
    int m_count;
    int m_capacity;
};

}  // namespace klav

#endif
