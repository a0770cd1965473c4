#include "uniquepointset.h"

#include "common.h"

#include <cstring>

namespace klav {

CUniquePointSet::CUniquePointSet() : m_points(detail::NewArray<Vector2>({16})), m_count(0), m_capacity(16) {}

CUniquePointSet::~CUniquePointSet() { delete[] m_points; }

bool CUniquePointSet::Insert(Vector2 &point) {
    for (int i = 0; i < m_count; ++i)
        if (m_points[i].x == point.x && m_points[i].y == point.y) return false;
    if (m_count == m_capacity) {
        Vector2 *grown = detail::NewArray<Vector2>({m_capacity, 2});
        std::memcpy(grown, m_points, sizeof(Vector2) * static_cast<size_t>(m_count));
        delete[] m_points;
        m_points = grown;
        m_capacity *= 2;
    }
    m_points[m_count++] = point;
    return true;
}

}  // namespace klav
