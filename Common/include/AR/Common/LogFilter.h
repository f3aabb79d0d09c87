#pragma once

#include <memory>

#include "AR/Common/Macros.h"
#include "AR/Common/Map.h"
#include "AR/Common/StringPortion.h"

namespace AR::Common {

class ConfigNode;

/// One component of a method name, its level, and the components that may follow it.
class AR_EXPORT LogFilterNode {
 public:
  using ChildMap = Map<StringPortion, LogFilterNode>;

  /// A node of level WARNING without a name.
  LogFilterNode() = default;
  explicit LogFilterNode(const int level) : mLevel(level) {}

  [[nodiscard]] int level() const { return mLevel; }
  void setLevel(const int level) { mLevel = level; }

  /// Sorted by name; the names are kept by the children themselves.
  [[nodiscard]] ChildMap& children() { return mChildren; }

  /// Null when there is none of that name.
  [[nodiscard]] LogFilterNode* findChild(const StringPortion& name);
  [[nodiscard]] const LogFilterNode* findChild(const StringPortion& name) const;

  /// Adds a child that owns a copy of `name`. Null when there is no memory.
  LogFilterNode* addChild(const StringPortion& name, int level);

 private:
  ChildMap mChildren;
  int mLevel = 2;
  /// What this node's key in its parent's map points to.
  std::unique_ptr<char[]> mName;
};

/// Levels by method name: a tree over the components between "::" in a qualified name, itself the
/// root. The level of a name is that of the deepest node on its path; the root's is the default.
/// Not locked: to be set up before other threads log.
class AR_EXPORT LogFilter : public LogFilterNode {
 public:
  static constexpr int kMaxPortions = 15;

  /// How setFilterNodeLevel changes an existing node. Nodes that a path lacks take the level given,
  /// whatever the mode.
  enum LOG_FILTER_SET : int {
    RAISE_ONLY = 0,  ///< Only when the node's level is lower.
    LOWER_ONLY = 1,  ///< Only when the node's level is higher.
    ALWAYS = 2,
    KEEP_EXISTING = 3,  ///< Existing nodes stay as they are.
  };

  using LogFilterNode::LogFilterNode;

  /// The level for a method name: at most `length` characters of it, a negative length meaning up
  /// to its terminating zero. A null name gives the default level.
  [[nodiscard]] int getLevel(const char* name, int length) const;
  [[nodiscard]] bool allowed(const char* name, int length, int level) const;
  [[nodiscard]] bool allowed(const char* name, int level) const;

  /// Gives a level to a method-name prefix. Missing nodes on its path are added with `level`; the
  /// last one, where it exists, changes by `mode`. A null name sets the default level.
  void setFilterLevel(const char* name, int level, LOG_FILTER_SET mode);
  static void setFilterNodeLevel(LogFilterNode& node, int level, LOG_FILTER_SET mode);

  /// Removes the node of that path and what lies below it; unknown paths and null are left alone.
  void removeFilterLevel(const char* name);

  /// Cuts a name at each "::" into `portions`, views into it, and returns their number. Portions
  /// beyond the first `maxPortions` are left out. An empty or null name has none.
  static int splitUpMethodName(const char* name, StringPortion* portions, int maxPortions,
                               int length);

  /// The level for one of the words off, error, warning, debug, info and verbose, case-sensitive.
  /// Any other word is logged at WARNING and gives 0.
  [[nodiscard]] static int getLogLevelFromString(const char* word);

  /// Reads "defaultLevel" and the "LogLevel" children of `node`. Defined with the configuration
  /// tree (LoggerConfiguration).
  void initializeFromConfiguration(const ConfigNode& node);
};

}  // namespace AR::Common
