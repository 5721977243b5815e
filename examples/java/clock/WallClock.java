package clock;

import java.io.IOException;
import java.nio.file.FileSystemException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;

/** An evening in front of a clock: the scene is a file, the clock is drawn here. */
public final class WallClock {
    private static final double FIRST_HOUR = 19.5;
    private static final double HOURS_PER_FRAME = 1.0 / 12;

    private WallClock() {}

    /** Takes a scene file and the folder to write pictures to. */
    public static void main(String[] arguments) throws InterruptedException {
        if (arguments.length != 2) {
            System.err.println("usage: WallClock SCENE.json FOLDER");
            System.exit(2);
        }
        // Another thread draws: each next picture of the clock while the frame with the last one is shown.
        ExecutorService painter = Executors.newSingleThreadExecutor();
        try (Scene scene = new Scene(arguments[0], "clock")) {
            play(scene, Files.createDirectories(Path.of(arguments[1])), painter);
        } catch (IOException | ExecutionException fault) {
            System.err.println("WallClock: "
                    + (fault instanceof FileSystemException ? fault : fault.getMessage()));
            System.exit(1);
        } finally {
            painter.shutdown();
        }
    }

    private static void play(Scene scene, Path folder, ExecutorService painter)
            throws IOException, InterruptedException, ExecutionException {
        ClockFace face = new ClockFace(scene.getBitmap(0).getWidth(), scene.getBitmap(0).getHeight());
        int first = scene.getFirstFrame();
        int last = scene.getLastFrame();
        Future<?> drawn = draw(painter, face, scene, scene.current(), first);
        for (int frame = first; frame <= last; ++frame) {
            drawn.get();
            int next = scene.swap();
            drawn = draw(painter, face, scene, next, frame + 1);
            scene.show(frame, folder.resolve(String.format("frame_%04d.png", frame)).toString());
        }
        drawn.get();
    }

    private static Future<?> draw(ExecutorService painter, ClockFace face, Scene scene, int index,
            int frame) {
        double hours = FIRST_HOUR + frame * HOURS_PER_FRAME;
        return painter.submit(() -> face.draw(scene.getBitmap(index), hours));
    }
}
