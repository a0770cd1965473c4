// CSelectiveColor: adjusts cyan, magenta, yellow and black per colour range
// (reds, yellows, greens, cyans, blues, magentas, whites, neutrals, blacks).
//
// Contract: the image is width x height RGBA, packed rows, changed in place
// (bytes 0..2; byte 3 stays); `mask`, when given, is width x height bytes,
// 0 keeping a pixel and 255 taking the full adjustment. Percentages are
// combined with black by MakeParam; a parameter above 100 acts as 100 and
// one below -100 as -100. A positive adjustment takes away from the channel,
// as ink does. The per-level map lives on the stack of one Execute. Settings
// stay until Init; one object must not change during an Execute.
#ifndef KLAV_SELECTIVECOLOR_H
#define KLAV_SELECTIVECOLOR_H

#include "klav_export.h"

namespace klav {

enum eColorType {
    KV_SELECTIVE_RED = 0,
    KV_SELECTIVE_YELLOW = 1,
    KV_SELECTIVE_GREEN = 2,
    KV_SELECTIVE_CYAN = 3,
    KV_SELECTIVE_BLUE = 4,
    KV_SELECTIVE_MAGENTA = 5,
    KV_SELECTIVE_WHITE = 6,
    KV_SELECTIVE_NEUTRAL = 7,
    KV_SELECTIVE_BLACK = 8,
};

class KLAV_API CSelectiveColor {
public:
    CSelectiveColor() { Init(); }
    void Init();
    // Percentages -100..100 (larger magnitudes are limited); a type above
    // 8 is ignored.
    void SetSelectiveColor(eColorType type, int cyan, int magenta, int yellow, int black);
    void Execute(unsigned char *image, int width, int height, unsigned char *mask);

private:
    friend struct CSelectiveColorTestAccess;
    int MakeParam(int value, int black);
    void InitMap(int value, unsigned char (*map)[54], int column);
    void Update(unsigned char *pixel, eColorType type, int weight, int &delta0, int &delta1, int &delta2,
                unsigned char (*map)[54]);

    int m_params[9][3];
};

}  // namespace klav

#endif
