// SPDX-License-Identifier: Apache-2.0
// Lists the modules of a board and loads a file into one of them.
//   mono loader.exe FILE MODULE      such as: mono loader.exe design.bit mwc4a:0/1
using System;
using System.Runtime.InteropServices;

/// A call that failed.
class KvnException : Exception
{
    public readonly int Status;

    public KvnException(int status, string words) : base(words)
    {
        Status = status;
    }
}

/// An open session.
class Session : IDisposable
{
    IntPtr handle;

    public Session()
    {
        Demand(Kvn.kvn_open(out handle));
        Demand(Kvn.kvn_provider_open(handle, null));
    }

    public void Dispose()
    {
        Kvn.kvn_close(handle);
    }

    public void ShowBoard(string boardType, int board)
    {
        UIntPtr count;
        Demand(Kvn.kvn_list(handle, Kvn.Bytes(boardType), board));
        Demand(Kvn.kvn_slot_count(handle, out count));
        for (uint index = 0; index < (uint)count; ++index) {
            Kvn.SlotInfo slot = new Kvn.SlotInfo { Size = Kvn.SizeOf<Kvn.SlotInfo>() };
            Demand(Kvn.kvn_slot(handle, (UIntPtr)index, ref slot));
            if (slot.Device != IntPtr.Zero)
                Console.WriteLine("{0} {1}", Kvn.Text(slot.Module), Kvn.Text(slot.Device));
        }
    }

    public void Load(string path, string module)
    {
        IntPtr file;
        Demand(Kvn.kvn_file_open(handle, Kvn.Bytes(path), out file));
        GCHandle name = GCHandle.Alloc(Kvn.Bytes(module), GCHandleType.Pinned);
        try {
            ulong quarters = 0;
            Kvn.LoadOptions options = new Kvn.LoadOptions {
                Size = Kvn.SizeOf<Kvn.LoadOptions>(),
                Module = name.AddrOfPinnedObject(),
                // It must not throw.
                Progress = (IntPtr userData, ref Kvn.ProgressInfo progress) => {
                    ulong now = progress.Total > 0 ? progress.Bytes * 4 / (ulong)progress.Total : 0;
                    if (now > quarters)
                        Console.WriteLine("{0} %", 25 * (quarters = now));
                    return 0; // anything else cancels the load
                }
            };
            Kvn.Record record = new Kvn.Record { Size = Kvn.SizeOf<Kvn.Record>() };
            Demand(Kvn.kvn_load(handle, file, ref options, ref record));
            GC.KeepAlive(options.Progress);
            Console.WriteLine("{0} runs {1}", Kvn.Text(record.Module), Kvn.Text(record.File));
        } finally {
            name.Free();
            Kvn.kvn_file_close(file);
        }
    }

    void Demand(int status)
    {
        if (status != Kvn.Done)
            throw new KvnException(status, Kvn.Text(Kvn.kvn_error_text(handle)) +
                                               Line("why", Kvn.kvn_error_why(handle)) +
                                               Line("try", Kvn.kvn_error_remedy(handle)));
    }

    static string Line(string label, IntPtr text)
    {
        string known = Kvn.Text(text);
        return known == "" ? "" : "\n" + label + ": " + known;
    }
}

static class Loader
{
    static int Main(string[] arguments)
    {
        if (arguments.Length != 2) {
            Console.Error.WriteLine("usage: loader.exe FILE MODULE");
            return Kvn.Usage;
        }
        string[] parts = arguments[1].Split(':', '/');
        int board;
        if (parts.Length != 3 || !Int32.TryParse(parts[1], out board)) {
            Console.Error.WriteLine("{0} is no name of a module", arguments[1]);
            return Kvn.Usage;
        }
        try {
            using (Session session = new Session()) {
                session.ShowBoard(parts[0], board);
                session.Load(arguments[0], arguments[1]);
            }
            return Kvn.Done;
        } catch (KvnException error) {
            Console.Error.WriteLine(error.Message);
            return error.Status;
        }
    }
}
