/** @file Failures that the platform reports, and the one place where they become Errors. */
#pragma once

#include <initializer_list>
#include <string>

#include "error.h"
#include "ork/ork.h"

namespace tool {

/**
 * Throws an Error when the platform has reported a failure. The status tells so, or else an entry
 * of the error stack: by contract several functions of the library go on after a failure and yield
 * a good status, or an answer that looks like one. As long as all goes well the stack is empty; so
 * what has failed since the last question is noticed here, whoever passed over it.
 * @param problem what could not be done, for example "item GB-1000 is not read".
 * @param advice what the user can do about it, where the reason itself does not tell.
 * @param answers codes that are answers here and no failures, wherever they stand on the stack.
 */
void require_success(int status, const std::string& problem, const std::string& advice,
                     std::initializer_list<int> answers = {});

/**
 * The Error that `require_success` throws of a failure. For those who ask the platform more before
 * they throw it.
 */
Error failure_error(int status, const std::string& problem, const std::string& advice,
                    std::initializer_list<int> answers = {});

/** The same for something that was to be read. */
void require(int status, const std::string& what, std::initializer_list<int> answers = {});

/** Whether a failure stands on the stack that nobody has taken for an answer. */
bool has_failed();

/** What the platform says of a failure: its text, with the names of objects for their numbers. */
std::string failure_text(int status, std::initializer_list<int> answers = {});

/** What users know an object by; "object" and its number where that cannot be read. */
std::string known_as(tag object);

/** Takes all entries off the stack; what they told was an answer, or has been told. */
void forget_failures();

/** Takes a failure off the stack that has just happened and changes nothing, as of tidying up. */
void forget_failure(int status);

}  // namespace tool
