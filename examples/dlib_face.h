// Real landmark detection for the example hosts: dlib's frontal face
// detector and 68-point shape predictor, converted into the library's
// NativeFace record (83- and 39-point numberings, normalised coordinates).
#ifndef KLAV_EXAMPLES_DLIB_FACE_H
#define KLAV_EXAMPLES_DLIB_FACE_H

#include <nativeface.h>

#include <string>
#include <vector>

// 68 detector points of one face in pixels, and its box (left, top, right, bottom).
struct Landmarks68 {
    klav::Vector2 pts[68];
    float left, top, right, bottom;
};

// Converts the 68 points into the 83-point numbering, in pixels.
void ConvertTo83(const Landmarks68 &face, klav::Vector2 out83[83]);

// Fills a NativeFace (zeroed first) from up to 10 faces, ordered by the left
// edge of their box, normalising by the image size.
void FillNativeFace(const std::vector<Landmarks68> &faces, int width, int height, NativeFace &record);

// Runs detector and predictor on an RGBA image. The model file is the one of
// Debian's libdlib-data unless `modelPath` names another. Returns false with
// a message when the model cannot be read.
bool DetectLandmarks(const unsigned char *rgba, int width, int height, std::vector<Landmarks68> &faces,
                     std::string &error, const std::string &modelPath = "");

#endif
