#include "work/ImageJobs.h"

#include <filesystem>

#include "cli/Error.h"
#include "files/FramePairs.h"
#include "work/ForEach.h"

namespace rectiline::tool {

ImagesByCamera imagesByCamera(const std::string& owner, std::size_t cameras,
                              const std::vector<std::string>& arguments) {
  if (cameras > 1 && arguments.size() > cameras) {
    throw Error(owner + ": has " + std::to_string(cameras) + " cameras, " +
                std::to_string(arguments.size()) + " images were given");
  }
  ImagesByCamera images(cameras);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    std::vector<std::string>& own = images[cameras == 1 ? 0 : i];
    const std::vector<std::string> found = findFrames(arguments[i]);
    own.insert(own.end(), found.begin(), found.end());
  }
  return images;
}

std::vector<std::string> inputsOf(const ImagesByCamera& images, std::vector<std::string> others) {
  for (const auto& files : images) others.insert(others.end(), files.begin(), files.end());
  return others;
}

std::vector<ImageJob> planImageJobs(const ImagesByCamera& images,
                                    const std::vector<std::string>& names, ImageFormat format,
                                    Outputs& out) {
  std::vector<ImageJob> jobs;
  for (std::size_t camera = 0; camera < images.size(); ++camera) {
    if (images[camera].empty()) continue;
    const std::string& name = names[camera];
    const ImageFile first(images[camera].front());
    const std::string end = extensionOf(format, first.header().format);
    const bool isAlone = images[camera].size() == 1;
    for (const std::string& file : images[camera]) {
      const std::string stem = std::filesystem::path(file).stem().string();
      jobs.push_back({camera, file, isAlone ? out.file(name + end) : out.file(stem + end, name)});
    }
  }
  return jobs;
}

void requireSource(const std::string& name, double shareWithSource) {
  if (shareWithSource > 0) return;
  throw Error("no pixel of the images of " + name + " would have a source", ExitCode::Verdict);
}

void runImageJobs(const std::vector<ImageJob>& jobs, const std::deque<Remapper>& remappers,
                  ImageFormat format) {
  forEach(jobs.size(), "images", [&](std::size_t i) {
    const Remapper& remapper = remappers[jobs[i].camera];
    writeImage(jobs[i].out, remapper.remap(remapper.read(jobs[i].in)), format);
  });
}

}  // namespace rectiline::tool
