// Stands until the first source of this folder does.
