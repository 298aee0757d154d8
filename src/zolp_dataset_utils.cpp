// Datasets: made, given files, looked up; text files in, images out; relations.
