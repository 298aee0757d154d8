/**
 * @file
 * Objects of this process that no file holds: windows, their lines, handles of occurrences. They
 * have tags from a range of their own, so that the numbers of a site's file are not used up by
 * them, and a class, so that the operations for objects answer for them too.
 */
#pragma once

#include <deque>
#include <string>

#include "ork/ork.h"
#include "values.h"

namespace host {

/** Tags of the file are below this, and stay positive where they are shown as signed numbers. */
inline constexpr tag first_transient = 0x60000000;
inline constexpr tag last_transient = 0x7FFFFFFF;

class Transient {
 public:
  virtual ~Transient() = default;

  virtual const char* class_name() const = 0;

  /** The values of an attribute of the class; `values` comes empty. */
  virtual void read(const std::string& attribute, Values* values) = 0;

  /** Sets a value of an attribute of the class; refused where it cannot be set. */
  virtual void write(const std::string& attribute, const Scalar& value) = 0;
};

/** Which transient object has which tag. A number stands for one object in the process's life. */
class Transients {
 public:
  /** Gives an object a tag. It stays its maker's, who takes it out before it goes. */
  tag add(Transient& object);

  void remove(tag object);

  /** Null for a tag that stands for none. */
  Transient* find(tag object) const;

 private:
  tag first_ = 0; /**< tag of the first element */
  std::deque<Transient*> objects_;
};

}  // namespace host
