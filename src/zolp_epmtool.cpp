// Workflow: attachments of a job, condition tasks, release levels and their reviewers.
