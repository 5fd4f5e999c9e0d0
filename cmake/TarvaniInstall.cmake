# What installing brings.
