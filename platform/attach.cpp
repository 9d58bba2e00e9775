// Nothing here yet.
