// Filters on objects, dates as text, view types and occurrences.
