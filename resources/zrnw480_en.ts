<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="zh_CN">
<context>
    <name>MainWindow</name>
    <message>
        <source>打开图像或PDF文件</source>
        <translation>open an image or pdf file</translation>
    </message>
    <message>
        <source>文件(*.pdf *.jpg *.png *.jpeg)</source>
        <translation>files(*.pdf *.jpg *.png *.jpeg)</translation>
    </message>
    <message>
        <source>不支持的图片格式或文件已损坏</source>
        <translation>Unsupported image format or corrupted file</translation>
    </message>
    <message>
        <source>导出到PDF</source>
        <translation>Save as PDF</translation>
    </message>
    <message>
        <source>PDF文件(*.pdf)</source>
        <translation>pdf file(*.pdf)</translation>
    </message>
    <message>
        <source>处理结果已输出至文件</source>
        <translation>Save to PDF file succeeded</translation>
    </message>
    <message>
        <source>打印</source>
        <translation>Print</translation>
    </message>
    <message>
        <source>指南</source>
        <translation>FAQ</translation>
    </message>
    <message>
        <source>打开软件使用指南</source>
        <translation>Open FAQ window</translation>
    </message>
    <message>
        <source>减少边距</source>
        <translation>Decrease margins</translation>
    </message>
    <message>
        <source>放大图片减少打印边距</source>
        <translation>Enlarge image to decrease print margins</translation>
    </message>
    <message>
        <source>增加边距</source>
        <translation>Increase margins</translation>
    </message>
    <message>
        <source>缩小图片增加打印边距</source>
        <translation>Reduce image size to increase print margins</translation>
    </message>
    <message>
        <source>放大</source>
        <translation>Zoom in</translation>
    </message>
    <message>
        <source>放大画布显示更多细节</source>
        <translation>Zoom in the canvas to show more details</translation>
    </message>
    <message>
        <source>缩小</source>
        <translation>Zoom out</translation>
    </message>
    <message>
        <source>缩小画布显示更多图片</source>
        <translation>Zoom out the canvas to show more images</translation>
    </message>
    <message>
        <source>打开文件</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>打开需要处理的长图片文件</source>
        <translation>Open an image file</translation>
    </message>
    <message>
        <source>导出到PDF文件</source>
        <translation>Save paginated images to a PDF file</translation>
    </message>
    <message>
        <source>输出到打印机</source>
        <translation>Print paginated images</translation>
    </message>
    <message>
        <source>退出</source>
        <translation>Exit</translation>
    </message>
    <message>
        <source>关闭窗口退出应用程序</source>
        <translation>Exit the application</translation>
    </message>
    <message>
        <source>双排</source>
        <translation>Switch layout</translation>
    </message>
    <message>
        <source>页面单/双排输出切换</source>
        <translation>Switch layout between single page and double columns</translation>
    </message>
    <message>
        <source>页码</source>
        <translation>Page number</translation>
    </message>
    <message>
        <source>页码显示输出切换</source>
        <translation>Turn on/off of page number display</translation>
    </message>
    <message>
        <source>文件</source>
        <translation>File</translation>
    </message>
    <message>
        <source>编辑</source>
        <translation>Edit</translation>
    </message>
    <message>
        <source>帮助</source>
        <translation>Help</translation>
    </message>
    <message>
        <source>main</source>
        <translation>main</translation>
    </message>
    <message>
        <source>就绪</source>
        <translation>Ready</translation>
    </message>
</context>
</TS>
