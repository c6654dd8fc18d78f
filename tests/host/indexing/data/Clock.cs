namespace Example.Time;

/// Tells the time.
public class Clock
{
    public long Now() => 0;
}
