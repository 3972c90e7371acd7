// Nothing of its own: the precompiled headers need a target that compiles something.
