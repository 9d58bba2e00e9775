// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The library from C#: plays a scale on the first output port, then prints the received messages.
//
// Windows: csc host.cs, with a ZORMIDI.DLL of the same width beside host.exe. Linux: mcs host.cs, and a
// host.exe.config beside host.exe that maps ZORMIDI.DLL to libzormidi.so.4.
using System;
using System.Runtime.InteropServices;
using System.Threading;

[StructLayout(LayoutKind.Sequential, Pack = 1)]
struct MIDIEvent
{
    public int Time;
    public int Etime;
    public short Channel;
    public byte Length;
    public byte Status;
    public byte Data1;
    public byte Data2;
}

static class Zor
{
    public const ushort Input = 0, Output = 1;

    [DllImport("ZORMIDI.DLL")] public static extern short MIDISysInit(byte again);
    [DllImport("ZORMIDI.DLL")] public static extern byte MIDISysTerm();
    [DllImport("ZORMIDI.DLL")] public static extern byte ZorAllocMIDI(short queue, short slots);
    [DllImport("ZORMIDI.DLL")] public static extern byte ZorStartMIDI(byte timer);
    [DllImport("ZORMIDI.DLL")] public static extern byte ZorStopMIDI();
    [DllImport("ZORMIDI.DLL")] public static extern byte ZorXmit(ushort queue, ref MIDIEvent record);
    [DllImport("ZORMIDI.DLL")] public static extern byte ZorXmitEmpty(byte wait);
    [DllImport("ZORMIDI.DLL")] public static extern byte ZorRcv(out MIDIEvent record, byte peek);
    [DllImport("ZORMIDI.DLL")] public static extern int ZorTimeMIDI(byte reset);
}

static class Host
{
    static void Queue(int time, byte length, byte status, byte data1, byte data2)
    {
        var record = new MIDIEvent { Time = time, Length = length, Status = status, Data1 = data1, Data2 = data2 };
        Zor.ZorXmit(Zor.Output, ref record);
    }

    static int Main()
    {
        if (Marshal.SizeOf(typeof(MIDIEvent)) != 14 || Zor.MIDISysInit(0) != -1) return 1;
        if (Zor.ZorAllocMIDI((short)Zor.Input, 256) == 0 || Zor.ZorAllocMIDI((short)Zor.Output, 256) == 0 ||
            Zor.ZorStartMIDI(1) == 0)
        {
            Console.Error.WriteLine("MIDI could not be started");
            Zor.MIDISysTerm();
            return 1;
        }
        byte[] scale = { 60, 62, 64, 65, 67, 69, 71, 72 };
        for (int i = 0; i < scale.Length; ++i)
        {
            Queue(i * 150, 2, 0x90, scale[i], 96);
            Queue((i + 1) * 150, 2, 0x80, scale[i], 0);
        }
        // A position record as a rest of 300 ms: nothing is sent, but the queue stays non-empty.
        Queue(scale.Length * 150 + 300, 0, 0xF8, 1, 0);
        while (Zor.ZorXmitEmpty(0) == 0) Thread.Sleep(10);
        Console.WriteLine("played after {0} ms", Zor.ZorTimeMIDI(0));
        MIDIEvent came;
        while (Zor.ZorRcv(out came, 0) != 0)
            Console.WriteLine("{0,6} ms  channel {1}  {2:X2} {3} {4}", came.Time, came.Channel, came.Status,
                              came.Data1, came.Data2);
        Zor.ZorStopMIDI();
        Zor.MIDISysTerm();
        return 0;
    }
}
