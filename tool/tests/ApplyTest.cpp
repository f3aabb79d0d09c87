// The subcommand "apply": what "maps" wrote, read back and used on images; files that are no maps.

#include <gmock/gmock.h>
#include <zip.h>

#include <cstring>
#include <map>
#include <regex>
#include <vector>

#include "RunCommand.h"
#include "SmallRig.h"
#include "arrays/Array.h"
#include "images/ImageFile.h"

namespace rectiline::tool {
namespace {

using ::testing::HasSubstr;

using Members = std::map<std::string, std::string>;

constexpr char kAbout[] =
    R"({"cameras": {"camera": {"name": "front", "raw_width": 4, "raw_height": 3}}})";

std::string npyOf(const Pixels<float>& values) {
  return toNpy({"", Element::Float32, static_cast<std::size_t>(values.height),
                static_cast<std::size_t>(values.width), values.data.data()});
}

Pixels<float> filled(int width, int height, float value) {
  Pixels<float> pixels(width, height);
  for (float& pixel : pixels.data) pixel = value;
  return pixels;
}

/// An archive whose members are stored as they are, as NumPy's savez writes them.
void storeNpz(const std::string& file, const Members& members) {
  zip_t* const zip = zip_open(file.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
  for (const auto& [name, bytes] : members) {
    zip_source_t* const source = zip_source_buffer(zip, bytes.data(), bytes.size(), 0);
    const zip_int64_t index = zip_file_add(zip, name.c_str(), source, 0);
    zip_set_file_compression(zip, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
  }
  EXPECT_EQ(zip_close(zip), 0);
}

class Apply : public CommandTest {
 protected:
  /// The map of a camera of 4 x 3 pixels that shows its pixel (2, 1) everywhere.
  [[nodiscard]] static Members goodMembers() {
    return {{"about.json", kAbout},
            {"camera_x.npy", npyOf(filled(5, 2, 2))},
            {"camera_y.npy", npyOf(filled(5, 2, 1))}};
  }
};

TEST_F(Apply, GivesTheImagesOfRectify) {
  writeText("rig.xml", kSmallRig);
  for (const rectiline_format format : {RECTILINE_RGB8, RECTILINE_GREY16}) {
    Image image(ImageHeader{376, 240, format});
    for (std::size_t i = 0; i < image.data.size(); ++i) {
      image.data[i] = static_cast<std::uint8_t>(i * i % 251);
    }
    writeImage(path("raw.png"), image);
    const std::string images = " " + path("raw.png") + " " + path("raw.png") + " --force -o ";
    ASSERT_EQ(run("rectify " + path("rig.xml") + images + path("direct")).exitCode, 0);
    for (const std::string file : {"maps.npz", "maps.yml"}) {
      SCOPED_TRACE(file);
      ASSERT_EQ(run("maps --force " + path("rig.xml") + " -o " + path(file)).exitCode, 0);
      const Outcome applied = run("apply --json " + path(file) + images + path("applied"));
      ASSERT_EQ(applied.exitCode, 0) << applied.errors;
      EXPECT_EQ(applied.json()["cameras"][1]["name"], "right");
      for (const char* side : {"/left.png", "/right.png"}) {
        EXPECT_EQ(contentOf(path("applied") + side), contentOf(path("direct") + side)) << side;
      }
    }
  }
}

TEST_F(Apply, TakesAnyNumberOfImagesThroughAStoredMapOfOneCamera) {
  storeNpz(path("maps.npz"), goodMembers());
  Image image(ImageHeader{4, 3, RECTILINE_GREY8});
  for (const int value : {50, 60}) {
    image.data[6] = static_cast<std::uint8_t>(value);
    writeImage(path("f" + std::to_string(value) + ".png"), image);
  }
  const std::string images = path("f50.png") + " '" + path("f6*.png") + "'";
  const Outcome r =
      run("apply " + path("maps.npz") + " " + images + " --format pgm -o " + path("out"));
  ASSERT_EQ(r.exitCode, 0) << r.errors;
  EXPECT_THAT(r.output, HasSubstr("front: 5 x 2, 100.0 % of the pixels have a source, 2 images"));
  EXPECT_EQ(ImageFile(path("out/front/f60.pgm")).decode().data, std::vector<std::uint8_t>(10, 60));
}

TEST_F(Apply, RefusesWhatHoldsNoMapsOfTheImages) {
  const auto with = [this](const std::string& file, const std::string& member,
                           const std::string& bytes) {
    Members members = goodMembers();
    members[member] = bytes;
    storeNpz(path(file), members);
    return file;
  };
  const std::string good = with("good.npz", "more.txt", "");
  const std::string archive = contentOf(path(good));
  writeText("cut.npz", archive.substr(0, archive.size() / 2));
  std::string damaged = archive;
  damaged[archive.find("\x93NUMPY") + 140] ^= 1;
  writeText("damaged.npz", damaged);
  writeText("text.txt", "no maps");
  const std::string nowhere = npyOf(filled(5, 2, -1));
  storeNpz(path("empty.npz"),
           {{"about.json", kAbout}, {"camera_x.npy", nowhere}, {"camera_y.npy", nowhere}});
  const std::string npy = npyOf(filled(5, 2, 2));
  const auto saying = [&npy](const char* from, const char* to) {
    return std::regex_replace(npy, std::regex(from), to);
  };
  const std::string storage = std::string("%YAML:1.0\n---\nabout: '") + kAbout + "'\n";
  const auto matrix = [&storage](const char* type, const char* data) {
    return storage + "camera_x: !!opencv-matrix\n   rows: 1\n   cols: 2\n   dt: " + type +
           "\n   data: [ " + data + " ]\n";
  };
  writeText("few.yml", matrix("f", "1."));
  writeText("many.yml", matrix("f", "1., 2., 3."));
  writeText("bytes.yml", matrix("u", "1, 2"));
  writeText("word.yml", matrix("f", "1., two"));
  writeText("deep.yml", storage + "a: " + std::string(100000, '['));
  writeImage(path("good.png"), Image(GreyImage(4, 3)));
  writeImage(path("large.png"), Image(GreyImage(40, 30)));
  const struct {
    int exitCode;
    std::string maps, message, image = "good.png", options = "";
  } rows[] = {
      {1, good, "is 40x30, camera front has 4x3", "large.png"},
      {1, good, "above the limit of 9", "good.png", "--max-pixels 9"},
      {1, "none.npz", "none.npz: cannot be read"},
      {1, "text.txt", "holds no maps"},
      {1, "cut.npz", "is no whole archive"},
      {1, "damaged.npz", "camera_x.npy: is damaged"},
      {1, with("no_about.npz", "about.json", "{}"), "holds no maps"},
      {1, with("no_size.npz", "about.json", R"({"cameras": {"camera": {}}})"), "does not say"},
      {1, with("size.npz", "about.json", std::regex_replace(kAbout, std::regex("4"), "1e9")),
       "does not say the size"},
      {1,
       with("other.npz", "about.json", std::regex_replace(kAbout, std::regex("camera\""), "c\"")),
       "has no array c_x"},
      {1, with("shape.npz", "camera_y.npy", npyOf(filled(2, 5, 1))), "are not of one size"},
      {1, with("ints.npz", "camera_x.npy", saying("<f4", "<i4")), "of little-endian float32"},
      {1, with("cube.npz", "camera_x.npy", saying("2, 5\\), }   ", "2, 5, 1), }")),
       "of two dimensions"},
      {1, with("vast.npz", "camera_x.npy", saying("2, 5\\), }          ", "90000, 90000), }")),
       "are 8100000000 pixels, above the limit"},
      {1, with("long.npz", "camera_x.npy", npy + "more"), "more or less than its header says"},
      {3, "empty.npz", "no pixel of the images"},
      {1, "few.yml", "fewer values than it says"},
      {1, "many.yml", "more values than it says"},
      {1, "bytes.yml", "has no matrix of floats camera_x"},
      {1, "word.yml", "line 8: is no number"},
      {1, "deep.yml", "nested too deep"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.maps);
    const Outcome r = run("apply " + path(row.maps) + " " + path(row.image) + " " + row.options +
                          " -o " + path("out"));
    EXPECT_EQ(r.exitCode, row.exitCode);
    EXPECT_THAT(r.errors, HasSubstr(row.message));
    EXPECT_EQ(std::count(r.errors.begin(), r.errors.end(), '\n'), 1) << r.errors;
    EXPECT_FALSE(std::filesystem::exists(path("out/front.png")));
  }
}

}  // namespace
}  // namespace rectiline::tool
