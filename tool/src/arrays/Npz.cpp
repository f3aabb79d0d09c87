#include <zip.h>

#include <memory>
#include <optional>

#include "arrays/Array.h"
#include "cli/Error.h"

namespace rectiline::tool {
namespace {

[[noreturn]] void fail(const char* reason) {
  throw Error(std::string("no archive can be made: ") + reason);
}

using Source = std::unique_ptr<zip_source_t, decltype(&zip_source_free)>;
using Archive = std::unique_ptr<zip_t, decltype(&zip_discard)>;

Archive openArchive(zip_source_t* source) {
  zip_error_t error;
  zip_error_init(&error);
  Archive archive(zip_open_from_source(source, ZIP_CREATE | ZIP_TRUNCATE, &error), zip_discard);
  if (archive == nullptr) fail(zip_error_strerror(&error));
  zip_source_keep(source);  // closing the archive gives up one hold of it
  return archive;
}

void add(zip_t* archive, const std::string& name, const std::string& bytes) {
  Source source(zip_source_buffer(archive, bytes.data(), bytes.size(), 0), zip_source_free);
  const zip_int64_t index =
      source == nullptr ? -1 : zip_file_add(archive, name.c_str(), source.get(), ZIP_FL_ENC_UTF_8);
  if (index < 0) fail(zip_strerror(archive));
  [[maybe_unused]] zip_source_t* const owned = source.release();
  zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE, 1);
  zip_file_set_mtime(archive, static_cast<zip_uint64_t>(index), 0, 0);  // the same bytes each time
}

std::string contentOf(zip_source_t* source) {
  zip_stat_t status;
  if (zip_source_stat(source, &status) != 0 || zip_source_open(source) != 0) {
    fail(zip_error_strerror(zip_source_error(source)));
  }
  std::string bytes(status.size, '\0');
  const zip_int64_t count = zip_source_read(source, bytes.data(), bytes.size());
  zip_source_close(source);
  if (count != static_cast<zip_int64_t>(bytes.size())) fail("it cannot be read back");
  return bytes;
}

/// An archive that is read member by member.
class NpzReader : public ArrayReader {
 public:
  NpzReader(const std::string& file, const PixelLimit& limit)
      : mFile(file), mLimit(limit), mArchive(open(file)) {}

  std::string about() override {
    constexpr std::uint64_t kLongest = 65536;
    const auto member = tryOpen("about.json");
    if (!member) return "";
    if (member->size > kLongest) throw Error(member->name + ": is too long");
    std::string text(member->size, '\0');
    read(*member, text.data(), text.size());
    requireEnd(*member);
    return text;
  }

  Pixels<float> floats(const std::string& name) override {
    const auto member = tryOpen(name + ".npy");
    if (!member) throw Error(mFile + ": has no array " + name);
    Pixels<float> values =
        readNpy({member->name, member->size,
                 [&member](void* to, std::size_t count) { read(*member, to, count); }},
                mLimit);
    requireEnd(*member);
    return values;
  }

 private:
  struct Member {
    std::string name;
    std::uint64_t size;  // as the archive claims
    std::unique_ptr<zip_file_t, decltype(&zip_fclose)> file;
  };

  static Archive open(const std::string& file) {
    int code = 0;
    Archive archive(zip_open(file.c_str(), ZIP_RDONLY, &code), zip_discard);
    if (archive != nullptr) return archive;
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    throw Error(file + ": is no whole archive: " + zip_error_strerror(&error));
  }

  [[nodiscard]] std::optional<Member> tryOpen(const std::string& member) {
    zip_stat_t status;
    if (zip_stat(mArchive.get(), member.c_str(), 0, &status) != 0) return std::nullopt;
    Member opened{mFile + ": " + member,
                  status.size,
                  {zip_fopen_index(mArchive.get(), status.index, 0), zip_fclose}};
    if (opened.file == nullptr) {
      throw Error(opened.name + ": cannot be read: " + zip_strerror(mArchive.get()));
    }
    return opened;
  }

  static void read(const Member& member, void* to, std::size_t count) {
    if (zip_fread(member.file.get(), to, count) == static_cast<zip_int64_t>(count)) return;
    throw Error(member.name + ": is damaged or ends early");
  }

  /// The archive's check sum is compared when the end is reached.
  static void requireEnd(const Member& member) {
    char more;
    if (zip_fread(member.file.get(), &more, 1) != 0) throw Error(member.name + ": is damaged");
  }

  std::string mFile;
  PixelLimit mLimit;
  Archive mArchive;
};

}  // namespace

std::unique_ptr<ArrayReader> openNpz(const std::string& file, const PixelLimit& limit) {
  return std::make_unique<NpzReader>(file, limit);
}

std::string toNpz(const ArrayFile& file) {
  std::vector<std::string> members;
  for (const NamedArray& array : file.arrays) members.push_back(toNpy(array));
  const Source source(zip_source_buffer_create(nullptr, 0, 0, nullptr), zip_source_free);
  if (source == nullptr) fail("out of memory");
  Archive archive = openArchive(source.get());
  for (std::size_t i = 0; i < members.size(); ++i) {
    add(archive.get(), file.arrays[i].name + ".npy", members[i]);
  }
  add(archive.get(), "about.json", file.about);
  if (zip_close(archive.get()) != 0) fail(zip_strerror(archive.get()));
  [[maybe_unused]] zip_t* const closed = archive.release();
  return contentOf(source.get());
}

}  // namespace rectiline::tool
