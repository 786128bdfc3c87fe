// Nothing. The target of this source makes the precompiled header that the test programs share.
