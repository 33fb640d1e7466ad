// Pictures that are small to write down.
#pragma once

#include <string>

// A BMP file of one colour.
std::string BmpPicture(int width, int height);

// A JPEG file with an EXIF block in front that holds nothing but an orientation.
std::string WithOrientation(const std::string &jpeg, char orientation);
