// The standard face and its triangle meshes.
//
// Contract: a standard coordinate is a position on one canonical frontal
// face, normalised to 0..1 in both axes (the expansion works on a canvas of
// 1000 x 1500). Tables are process-wide and exported; g_StandCoord and
// g_StandFacePPCoord are mutable and rewritten by InterPoint while it
// expands, so two InterPoint objects must not run at once, and no reader of
// these tables may run while one does. Meshes are flat runs of index
// triples. Nothing here allocates.
#ifndef KLAV_STANDFACE_H
#define KLAV_STANDFACE_H

#include "klav_export.h"
#include "klavtypes.h"
#include "nativeface.h"

namespace klav {

// The standard face in the 310-point numbering; mutable.
KLAV_API extern Vector2 g_StandCoord[310];
// Mouth points 50..79, first form and the form for 83-point input.
KLAV_API extern Vector2 g_StandMouceCoord[30];
KLAV_API extern Vector2 g_StandMouceCoordET[30];
// Outline points 80..107, first and second form.
KLAV_API extern Vector2 g_StandFaceCoord[28];
KLAV_API extern Vector2 g_StandFaceCoordET[28];
// Eyebrow points 20..39, pristine and second form.
KLAV_API extern Vector2 g_StandEyeBrowCoord[20];
KLAV_API extern Vector2 g_StandEyeBrowCoordET[20];
// The standard face in the 39-point numbering (entry 39 is (0, 0)); mutable,
// with a pristine copy.
KLAV_API extern Vector2 g_StandFacePPCoord[40];
KLAV_API extern Vector2 g_StandFacePPCoordBackUp[40];
// The standard face in the 83-point numbering (entry 83 is (0, 0)).
KLAV_API extern Vector2 g_StandFacePPCoordET[84];

// Triangle meshes, three indices a triangle; each is a valid triangulation
// of its points on the standard face.
// 310-point numbering (never the four (0, 0) points 171..174).
KLAV_API extern unsigned short g_StandIndexs[548 * 3];
// Face slimming mesh over the 230 points of the face mesh.
KLAV_API extern unsigned int g_Ctri[270 * 3];
// Eye enlarging mesh over the 80 points of the eye mesh: per eye the
// inside of the 20-point ring and the band out to the fixed outer ring.
KLAV_API extern unsigned int g_CBigEyestri[116 * 3];
// Dense grid over the 310 points (vertices 0..309; the four (0, 0) points,
// points that repeat an earlier one and the pupils 169, 170 are not used)
// and 24 frame points, vertices 310..333, at g_ThindFaceGridFrame.
KLAV_API extern unsigned int g_ThindFaceGrid[621 * 3];
KLAV_API extern Vector2 g_ThindFaceGridFrame[24];
// The mouth opening between the inner lip lines, over points 50..72.
KLAV_API extern unsigned int g_StandToothGrid[14 * 3];

// Triangles of facial parts, by MUFacePartType value (39-point numbering)
// and value + 11 (83-point numbering); 12 of the 100 records are filled.
KLAV_API extern Position g_position[100];

}  // namespace klav

#endif
