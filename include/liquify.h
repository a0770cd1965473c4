// CLiquify: an interactive warp brush over an RGBA image.
//
// Contract: images are 4 bytes a pixel with packed rows, width x height.
// The host binds two images of that size with SetImageAndDestImage: the
// show image, which strokes write (channels 0 to 2 of pixels under the
// brush; alpha is never written), and the source image, which is only read
// and must stay untouched while strokes run. Both stay the host's and must
// outlive the strokes. Each stroke changes a persistent per-pixel
// displacement field inside a circular brush and redraws the brushed pixels
// from the source through the field by bicubic sampling, so repeated
// strokes do not blur. The object owns the field (16 bytes a pixel), the
// brush window and the falloff; SetImageAndDestImage clears the field,
// DestroyMem or destruction frees them. Radii are held to 0..kMaxRadius; a
// radius below 1, an intensity of 0, an unknown mode, an unbound image or a
// stroke point outside the image does nothing. Nothing is reported. Not safe
// for concurrent use of one object.
#ifndef KLAV_LIQUIFY_H
#define KLAV_LIQUIFY_H

#include "klav_export.h"
#include "klavtypes.h"

namespace klav {


class KLAV_API CLiquify {
public:
    static const int kMaxRadius = 1024;

    CLiquify();
    virtual ~CLiquify();
    CLiquify(const CLiquify &) = delete;
    CLiquify &operator=(const CLiquify &) = delete;

    // A change rebuilds the window and the falloff.
    void SetRadius(int radius);
    // Per cent; a negative intensity turns every stroke into a bulge.
    void SetIntensity(int percent);
    void SetImageAndDestImage(unsigned char *showImage, unsigned char *sourceImage, int width, int height);
    unsigned char *GetShowImage() { return m_show; }
    int getWidth() const { return m_width; }
    int getHeight() const { return m_height; }
    // One stroke from (x1, y1) to (x0, y0) in the move mode; the other modes
    // act at (x0, y0).
    void ProcImage(int x0, int y0, int x1, int y1, DeformMode mode);
    // Pulls both sides of the box inward, one move stroke a radius apart.
    // The last argument has no effect.
    void AutoProcImage(int left, int top, int right, int bottom, int unused);
    void DestroyMem();

protected:
    friend struct CLiquifyTestAccess;
    void Deform(unsigned char *image, int x, int y, double dirX, double dirY);
    void GetDeformVector(double x, double y, double *dx, double *dy);
    void GetPoint(double x, double y, int dstX, int dstY, unsigned char *src, unsigned char *dst);

    int m_stride;
    double m_intensity;
    int m_radius;
    int m_width;
    int m_height;
    unsigned char *m_show;
    unsigned char *m_source;
    double *m_falloff;
    int m_step;
    double m_power;
    int m_mode;
    double *m_field;
    double *m_window;
};

}  // namespace klav

#endif
