// Forms made, and release-information forms read as a whole.
