// A host in C#, with a reference to the type library "QmTrainInfo 1.0" (Embed Interop Types: no). The platform of the
// project is x86 or x64, as the library that is registered; "Any CPU" takes what the machine has.
using System;

internal static class Practice
{
    private const int SubjectCode = 24;

    [STAThread]
    private static int Main(string[] arguments)
    {
        string folder = arguments[0];
        int user = 1;

        var train = new QmTrainInfo.TrainInfo { ClientPath = folder };
        string message = "";
        if (!train.Init(ref message))
        {
            Console.Error.WriteLine(message);
            return 1;
        }
        int id = train.AddNewTrain(DateTime.Now.AddHours(-1), ref user, 3, 0, SubjectCode);
        var result = new QmTrainInfo.TrainResult { ClientPath = folder };
        result.Add(id, 1, "D1", "0001001", 2, 2, "2", "", "", 1, 1, 1);
        train.Update(id, DateTime.Now, 2);

        var history = new QmTrainInfo.UITrain
        {
            ClientPath = folder, DataMdbPath = folder, UserId = user, SubjectCode = SubjectCode
        };
        history.ReDoQuestionPaper += (trainId, written) => Console.WriteLine("{0} {1}", trainId, written);
        history.ShowUI();
        return 0;
    }
}
