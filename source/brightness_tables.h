// The brightness tables of PSContrastBrightness, literal data made by
// tools/brightness/make_brightness_tables.py.
#ifndef KLAV_SOURCE_BRIGHTNESS_TABLES_H
#define KLAV_SOURCE_BRIGHTNESS_TABLES_H

namespace klav {
namespace detail {

// Row v + 150 for values -150..-1, row v + 149 for values 1..150.
extern const unsigned char kBrightnessTables[300][256];

}  // namespace detail
}  // namespace klav

#endif
