package com.omnar.trevik.fx;

/** What an application declares to ask the library for its version. */
public final class FxObject {
    static {
        System.load(System.getProperty("kelvo.backend"));
    }

    public native int GetMajorVersion();

    public native int GetMinorVersion();

    public native int GetBuildVersion();

    /** As Java code sees it. */
    public static String version() {
        FxObject object = new FxObject();
        return object.GetMajorVersion() + "." + object.GetMinorVersion() + "." + object.GetBuildVersion();
    }
}
