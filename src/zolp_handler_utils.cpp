// Work on the targets of a job as a whole, for workflow handlers and batch programs.
