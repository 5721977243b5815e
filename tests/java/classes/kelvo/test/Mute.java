package kelvo.test;

/** An exception that throws when it is asked what it is. */
public final class Mute extends RuntimeException {
    private static final long serialVersionUID = 1;

    @Override
    public String toString() {
        throw new IllegalStateException("not to be asked");
    }
}
