#pragma once

#include <boost/filesystem/path.hpp>
#include <map>
#include <string>

/// Lets folder names that are equal but for case share one folder below a destination: the
/// spelling of a folder that exists there wins, else the first one asked for. Each folder is listed
/// once, when it is first asked for; nothing is created.
class FolderSpellings {
  public:
    explicit FolderSpellings(const boost::filesystem::path& destination)
        : destination_(destination) {}

    /// The path of the folder `name` in `parent`, a path below the destination that this has
    /// answered, or an empty one. An empty name is the parent itself.
    boost::filesystem::path below(const boost::filesystem::path& parent, const std::string& name);

  private:
    using Spellings = std::map<std::string, std::string>;  // by the folded name

    Spellings& in(const boost::filesystem::path& parent);

    boost::filesystem::path destination_;
    std::map<std::string, Spellings> folders_;
};
