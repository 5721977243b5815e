package kelvo.test;

import java.io.File;
import java.net.MalformedURLException;
import java.net.URL;
import java.net.URLClassLoader;

/** Classes apart from those of the class path. */
public final class Loaders {
    private Loaders() {}

    /** A class of a new loader, which sees nothing but the platform and these files. */
    public static Class<?> load(String files, String name)
            throws MalformedURLException, ClassNotFoundException {
        String[] paths = files.split(File.pathSeparator);
        URL[] urls = new URL[paths.length];
        for (int i = 0; i < paths.length; ++i) {
            urls[i] = new File(paths[i]).toURI().toURL();
        }
        return Class.forName(name, true, new URLClassLoader(urls, ClassLoader.getPlatformClassLoader()));
    }
}
