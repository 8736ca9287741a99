#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "Pipeline.h"

namespace Tool {

/// A folder with one file for each part that layers are divided into. There is one object at a time.
///
/// A file holds the layers from the first to the last in which its part has anything; those between that have nothing
/// of it are empty ones.
class PartFiles {
 public:
  /// \param options  where and how the files are written; the path is that of the folder, which is made if need be. One
  ///                 that holds something is refused without `force`.
  PartFiles(Input const& input, Format const& format, OutputOptions const& options);
  /// Without `Finish` no file is left, nor a folder that was made for them.
  ~PartFiles();
  PartFiles(PartFiles const&) = delete;
  PartFiles& operator=(PartFiles const&) = delete;

  /// Goes on to the next layer.
  void BeginLayer(M2DSliceZArea const& z_area);
  /// Adds what a part has of the layer; its content is gone afterwards. Once a part and layer.
  /// \param name  of the part, which becomes that of its file
  void Add(std::string const& name, M2DSlice& slice);

  /// Writes all files before the first one has its name. If one cannot be given its name after that, those that have
  /// theirs are removed again, but for files that were replaced: the error tells of them. Throws `Trouble` if there is
  /// no file.
  void Finish();
  void Tell(TalkOptions const& talk) const;

  /// Removes a folder that was made, if it is empty.
  static void RemoveFolderFromSignalHandler() noexcept;

 private:
  struct Part {
    Part(Input const& input, Format const& format, std::string const& path, OutputOptions const& options,
         std::size_t num_layers_before, bool replaces_file)
        : output(input, format, path, options), num_layers(num_layers_before), replaces(replaces_file) {}

    Output output;
    std::size_t num_layers;  ///< that are in the file or come before it
    bool replaces;           ///< a file, or a link, that was there
    bool has_name = false;
  };

  void _GiveNames();
  /// Removes the files that have their names.
  /// \return the number of those that stay, since they replaced others
  std::size_t _TakeBack() noexcept;
  Part& _GetPart(std::string const& name);

  Input const& m_input;
  Format const& m_format;
  OutputOptions const& m_options;
  bool m_owns_folder;
  std::vector<M2DSliceZArea> m_layers;
  std::map<std::string, Part> m_parts;
};

}  // namespace Tool
