#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "files/Outputs.h"
#include "images/ImageFile.h"
#include "maps/Remapper.h"

namespace rectiline::tool {

// Images of several cameras, each taken alone through the map of its camera.

/// The image files of each camera.
using ImagesByCamera = std::vector<std::vector<std::string>>;

/// What a command was given as images. All are a single camera's own; else the first argument names
/// those of the first camera, the second those of the second, and so on. Throws Error.
/// @param owner  the file that knows the cameras, for messages
ImagesByCamera imagesByCamera(const std::string& owner, std::size_t cameras,
                              const std::vector<std::string>& arguments);

/// All files that are read: `others` and the images.
std::vector<std::string> inputsOf(const ImagesByCamera& images, std::vector<std::string> others);

/// One image of the camera with this index.
struct ImageJob {
  std::size_t camera;
  std::string in;
  std::string out;
};

/// NAME.png for a camera with one image, else a folder NAME with the names of the images.
/// @param names  of the results of each camera
std::vector<ImageJob> planImageJobs(const ImagesByCamera& images,
                                    const std::vector<std::string>& names, ImageFormat format,
                                    Outputs& out);

/// Throws Error, the verdict, when no pixel of the results has a source.
void requireSource(const std::string& name, double shareWithSource);

/// @param remappers  one for each camera
void runImageJobs(const std::vector<ImageJob>& jobs, const std::deque<Remapper>& remappers,
                  ImageFormat format);

}  // namespace rectiline::tool
