// Stands until the first test of a folder does.
