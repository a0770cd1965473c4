// Brightness and contrast through 256-entry tables.
#include "pscontrastbrightness.h"

#include "brightness_tables.h"
#include "common.h"

#include <cmath>
#include <cstring>

namespace klav {

namespace {

// Truncation toward zero of a float that may be anything: NaN counts as 0,
// values past the int range saturate (and fall outside every table).
int TruncValue(float v) { return detail::SaturateToInt(v); }

void ApplyTable(unsigned char *image, int width, int height, const unsigned char *map) {
    const size_t n = detail::CheckedSize({width, height});
    for (size_t i = 0; i < n; ++i) {
        unsigned char *p = image + i * 4;
        p[0] = map[p[0]], p[1] = map[p[1]], p[2] = map[p[2]];
    }
}

}  // namespace

namespace detail {
// Whether Run composes the two tables into one pass (the fast path) or
// applies them one after the other (the plain path); same bytes.
bool g_toneComposed = true;
}  // namespace detail

void PSContrastBrightness::GetPSContrastMap(unsigned char *map, int value) {
    if (value < -50 || value > 100 || value == 0) return;  // out of range: the table stays zero
    for (int x = 0; x < 128; ++x) {
        const double f = std::floor(x + 0.0076 * value * (x * x / 127.5 - x) + 0.5);
        map[x] = static_cast<unsigned char>(f < 0 ? 0 : (f > 255 ? 255 : f));
    }
    for (int x = 128; x < 256; ++x) map[x] = static_cast<unsigned char>(255 - map[255 - x]);
}

void PSContrastBrightness::GetPSBrightnessMap(unsigned char *map, int value) {
    if (value < -150 || value > 150 || value == 0) return;
    const int row = value < 0 ? value + 150 : value + 149;
    std::memcpy(map, detail::kBrightnessTables[row], 256);
}

void PSContrastBrightness::PSBrigheness(unsigned char *image, int width, int height, int value) {
    if (value == 0 || !detail::ValidImage(image, width, height)) return;
    unsigned char map[256] = {0};
    GetPSBrightnessMap(map, value);
    ApplyTable(image, width, height, map);
}

void PSContrastBrightness::PSContrast(unsigned char *image, int width, int height, int value) {
    if (value == 0 || !detail::ValidImage(image, width, height)) return;
    unsigned char map[256] = {0};
    GetPSContrastMap(map, value);
    ApplyTable(image, width, height, map);
}

void PSContrastBrightness::Run(unsigned char *image, int width, int height, float brightness, float contrast) {
    if (!(brightness == brightness)) brightness = 0.0f;
    if (!(contrast == contrast)) contrast = 0.0f;
    // The 0.5 is added whatever the sign: -0.5 gives -0.25 and truncates to 0.
    const int brightnessValue = TruncValue(brightness * 0.01f * 150.0f + 0.5f);
    const int contrastValue = TruncValue(contrast < 0 ? contrast * 0.5f + 0.5f : contrast);
    if (detail::g_toneComposed && brightnessValue != 0 && contrastValue != 0 && detail::ValidImage(image, width, height)) {
        unsigned char b[256] = {0}, c[256] = {0}, both[256];
        GetPSBrightnessMap(b, brightnessValue);
        GetPSContrastMap(c, contrastValue);
        for (int i = 0; i < 256; ++i) both[i] = c[b[i]];
        ApplyTable(image, width, height, both);
        return;
    }
    PSBrigheness(image, width, height, brightnessValue);
    PSContrast(image, width, height, contrastValue);
}

}  // namespace klav
