// BOM lines: their values, and walks over the lines below one.
