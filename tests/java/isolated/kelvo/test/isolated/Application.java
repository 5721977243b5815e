package kelvo.test.isolated;

/** An application whose classes are not on the class path. */
public final class Application {
    private Application() {}

    /** Registers what native code needs, as an application's JNI_OnLoad does. */
    public static native boolean register();

    /** Called through JNI. */
    public static boolean start() {
        return register();
    }
}
