// SPDX-License-Identifier: Apache-2.0
// kvn.h in C#, as far as the loader uses it. Texts are UTF-8 with a zero at the end.
using System;
using System.Runtime.InteropServices;
using System.Text;

static class Kvn
{
#if WINDOWS
    const string Library = "kvn";
#else
    const string Library = "libkvn.so.0";
#endif

    public const int Done = 0;
    public const int Usage = 2;

    [StructLayout(LayoutKind.Sequential)]
    public struct SlotInfo
    {
        public UIntPtr Size;
        public IntPtr Module;
        public IntPtr BoardType;
        public int Board;
        public int Carrier;
        public int Slot;
        public int Kind;
        public int Type;
        public int Model;
        public int Version;
        public int Compression;
        public IntPtr TypeName;
        public IntPtr Device;
        public IntPtr DeviceName;
        public IntPtr Package;
        public IntPtr SpeedGrade;
        public int Status;
        public int Number;
        public IntPtr What;
        public IntPtr Why;
        public IntPtr Remedy;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct ProgressInfo
    {
        public UIntPtr Size;
        public ulong Bytes;
        public long Total;
        public double Seconds;
        public double BytesPerSecond;
        public double SecondsLeft;
        public int IsRunning;
    }

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int ProgressFunction(IntPtr userData, ref ProgressInfo progress);

    [StructLayout(LayoutKind.Sequential)]
    public struct LoadOptions
    {
        public UIntPtr Size;
        public IntPtr Module;
        public IntPtr Device;
        public int Mode;
        public int Force;
        public IntPtr SerialNumber;
        public IntPtr OperatorName;
        public IntPtr Station;
        public ProgressFunction Progress;
        public IntPtr UserData;
        public ulong ProgressStep;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct Record
    {
        public UIntPtr Size;
        public IntPtr Module;
        public IntPtr File;
        public IntPtr FileSha256;
        public IntPtr Digest;
        public IntPtr Format;
        public IntPtr Design;
        public IntPtr Part;
        public IntPtr Device;
        public int Type;
        public int Model;
        public int Version;
        public int Mode;
        public long WireBytes;
        public long Begin;
        public long End;
        public double SecondsOnWire;
        public uint Attempts;
        public int Verdict;
        public int State;
        public int Answer;
        public int Status;
        public int Number;
        public IntPtr What;
        public IntPtr Why;
        public IntPtr Remedy;
        public uint ProblemCount;
        public int Simulated;
    }

    [DllImport(Library)]
    public static extern int kvn_open(out IntPtr session);

    [DllImport(Library)]
    public static extern int kvn_close(IntPtr session);

    [DllImport(Library)]
    public static extern IntPtr kvn_error_text(IntPtr session);

    [DllImport(Library)]
    public static extern IntPtr kvn_error_why(IntPtr session);

    [DllImport(Library)]
    public static extern IntPtr kvn_error_remedy(IntPtr session);

    [DllImport(Library)]
    public static extern int kvn_provider_open(IntPtr session, byte[] name);

    [DllImport(Library)]
    public static extern int kvn_file_open(IntPtr session, byte[] path, out IntPtr file);

    [DllImport(Library)]
    public static extern int kvn_file_close(IntPtr file);

    [DllImport(Library)]
    public static extern int kvn_list(IntPtr session, byte[] boardType, int board);

    [DllImport(Library)]
    public static extern int kvn_slot_count(IntPtr session, out UIntPtr count);

    [DllImport(Library)]
    public static extern int kvn_slot(IntPtr session, UIntPtr index, ref SlotInfo info);

    [DllImport(Library)]
    public static extern int kvn_load(IntPtr session, IntPtr file, ref LoadOptions options, ref Record record);

    /// A structure's size, as its first member states it.
    public static UIntPtr SizeOf<T>()
    {
        return (UIntPtr)(uint)Marshal.SizeOf(typeof(T));
    }

    /// A text for the library.
    public static byte[] Bytes(string text)
    {
        return Encoding.UTF8.GetBytes(text + "\0");
    }

    /// A text of the library; null for none.
    public static string Text(IntPtr pointer)
    {
        if (pointer == IntPtr.Zero)
            return null;
        int size = 0;
        while (Marshal.ReadByte(pointer, size) != 0)
            ++size;
        byte[] bytes = new byte[size];
        Marshal.Copy(pointer, bytes, 0, size);
        return Encoding.UTF8.GetString(bytes);
    }
}
